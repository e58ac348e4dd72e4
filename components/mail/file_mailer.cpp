// The mail component. Properties and methods bear the numbers that the library uses; setting
// another property is ignored.

#include <array>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <memory>
#include <random>
#include <string>

#include <climits>
#include <unistd.h>

#include <wkagent/components.h>

#include "components/event_sink.h"
#include "components/mail/message.h"
#include "components/mail/smtp_transport.h"

namespace wkagent::components {
namespace {

enum Event { kConnectionStatus = 1, kEndTransfer, kError, kPITrail, kStartTransfer, kTransfer };
enum Direction { kClient, kServer };

constexpr int kSend = 11;
constexpr int kFailed = 1;
constexpr int kRefusals = 400;      // replies of a server from here on
constexpr int kMostRefusals = 100;  // that are told of one mail

struct Property {
  int number;
  std::string Mail::*text;
};

constexpr Property kProperties[] = {
    {6, &Mail::cc},    {16, &Mail::from}, {22, &Mail::server},
    {30, &Mail::text}, {36, &Mail::to},   {38, &Mail::subject},
};

std::string HostName() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  if (gethostname(name.data(), name.size() - 1) != 0 || name[0] == '\0') return "localhost";
  return name.data();
}

// Unique among all messages of all machines, as RFC 5322 wants it.
std::string UniqueId() {
  std::random_device random;
  std::string id = std::to_string(std::time(nullptr)) + '.' + std::to_string(getpid());
  for (int i = 0; i < 3; ++i) id += '.' + std::to_string(random());
  return id;
}

class Mailer {
 public:
  Mailer(ComponentEventSink sink, void* wrapper) : events_(sink, wrapper, "mail") {}

  int Set(int number, const void* value, int length) {
    for (const Property& property : kProperties) {
      if (property.number == number) mail_.*property.text = ToText(value, length);
    }
    return 0;
  }

  int Do(int method) {
    if (method != kSend) return 0;
    Envelope envelope;
    envelope.server = mail_.server;
    if (!FindServer(envelope.server)) return Fail(kFailed, "no mail server: " + mail_.server);
    const std::vector<std::string> senders = SplitAddresses(mail_.from);
    if (senders.size() != 1 || !IsAddress(senders[0])) {
      return Fail(kFailed, "not the address of a sender: " + mail_.from);
    }
    envelope.from = senders[0];
    AddRecipients(mail_.to, envelope);
    AddRecipients(mail_.cc, envelope);
    if (envelope.recipients.empty()) return Fail(kFailed, "nobody to send it to");
    envelope.message = BuildMessage(mail_, std::time(nullptr), UniqueId(), HostName());
    return Send(envelope);
  }

 private:
  int Fail(int code, const std::string& what) const { return events_.Fail(kError, code, what); }

  // True for a name or an address with an optional port: nothing that would be another part of a
  // URL.
  static bool FindServer(const std::string& server) {
    return !server.empty() && server.find_first_not_of(
                                  "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                  "0123456789.-_:[]") == std::string::npos;
  }

  // One wrong address must not keep the others from hearing of it.
  void AddRecipients(const std::string& list, Envelope& envelope) const {
    for (const std::string& address : SplitAddresses(list)) {
      if (IsAddress(address)) {
        envelope.recipients.push_back(address);
      } else {
        Fail(kFailed, "not an address: " + address);
      }
    }
  }

  int Send(const Envelope& envelope) const {
    events_.Fire(kConnectionStatus, {ToParameter(std::string("connecting")), ToParameter(0),
                                     ToParameter(envelope.server)});
    events_.Fire(kStartTransfer, {ToParameter(kClient)});
    std::string error;
    int refusals = 0;
    const Follower follower = {
        .answer = [&](std::string_view line) { TellAnswer(std::string(line), refusals); },
        .goesOn = [&](std::size_t sent) { return TellTransfer(sent, std::string()) == 0; }};
    const int code = SendBySmtp(envelope, follower, error);
    if (code != 0) return Fail(code, envelope.server + ": " + error);
    TellTransfer(envelope.message.size(), envelope.message);
    events_.Fire(kEndTransfer, {ToParameter(kClient)});
    return 0;
  }

  void TellAnswer(const std::string& line, int& refusals) const {
    events_.Fire(kPITrail, {ToParameter(kServer), ToParameter(line)});
    const int reply = std::atoi(line.c_str());
    if (reply < kRefusals || ++refusals > kMostRefusals) return;
    Fail(reply, "the server says: " + line);
  }

  int TellTransfer(std::size_t sent, const std::string& text) const {
    return events_.Fire(
        kTransfer, {ToParameter(kClient), ToParameter(static_cast<int>(sent)), ToParameter(text)});
  }

  const EventSink events_;
  Mail mail_;
};

}  // namespace
}  // namespace wkagent::components

using wkagent::components::Mailer;

void* FileMailer_Create(ComponentEventSink sink, void* wrapper, const char* /*key*/) {
  return std::make_unique<Mailer>(sink, wrapper).release();
}

int FileMailer_Set(void* handle, int property, int /*index*/, const void* value, int length) {
  if (handle == nullptr) return wkagent::components::kFailed;
  return static_cast<Mailer*>(handle)->Set(property, value, length);
}

int FileMailer_Do(void* handle, int method, int /*count*/, void** /*params*/, int* /*lengths*/) {
  if (handle == nullptr) return wkagent::components::kFailed;
  return static_cast<Mailer*>(handle)->Do(method);
}

int FileMailer_Destroy(void* handle) {
  const std::unique_ptr<Mailer> ended(static_cast<Mailer*>(handle));
  return 0;
}
