#include <cerrno>
#include <cstring>
#include <ctime>
#include <iterator>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include <wkagent/alert.h>

#include "alert/current_object.h"
#include "alert/encrypted_settings.h"
#include "alert/file_mailer_sink.h"
#include "alert/spool_file.h"
#include "config/xml_library.h"
#include "config/xml_walk.h"
#include "core/bounded_copy.h"
#include "core/broken_pipe.h"

WKSMTPAlert* WKSMTPAlert::SMTPAlertPtr = nullptr;

namespace {

constexpr char kKind[] = "SMTP";
constexpr char kEncrypted[] = "../config/SMTPSettings.cfg";
constexpr char kPlain[] = "../config/SMTPSettings.xml";
constexpr char kDefaultSender[] = "agent@mossgrove.local";
constexpr char kLocalHost[] = "127.0.0.1";
constexpr std::size_t kReceiveSize = 8192;

// The component's numbers.
constexpr int kServer = 22;
constexpr int kFrom = 16;
constexpr int kTo = 36;
constexpr int kSubject = 38;
constexpr int kCc = 6;
constexpr int kMessage = 30;
constexpr int kSend = 11;

// One mail in a spool file.
struct Record {
  char from[128];
  char to[128];
  char cc[128];
  char subject[128];
  char message[256];
};
static_assert(sizeof(Record) == 768);

wkagent::CurrentObject<WKSMTPAlert>& Current() {
  static wkagent::CurrentObject<WKSMTPAlert> current(WKSMTPAlert::SMTPAlertPtr);
  return current;
}

// Breaks the mail off once the flag, if there is one, is set.
class StoppableMailer : public wkagent::FileMailer {
 public:
  explicit StoppableMailer(const std::atomic<bool>* stop) : stop_(stop) {}

  int FireTransfer(wkagent::FileMailerTransferEventParams* /*event*/) override {
    return stop_ != nullptr && *stop_ ? 1 : 0;
  }

 private:
  const std::atomic<bool>* const stop_;
};

// A null text leaves the field as it is.
template <std::size_t kSize>
void SetField(char (&field)[kSize], const char* text) {
  if (text == nullptr) return;
  char copy[kSize] = {};  // `text` may be the field itself
  wkagent::CopyBounded(copy, text);
  std::memcpy(field, copy, kSize);
}

// From one fixed field to another of the same size, cleared behind the text.
template <std::size_t kSize>
void CopyText(char (&to)[kSize], const char (&from)[kSize]) {
  std::memset(to, 0, kSize);
  wkagent::BoundedView(from).copy(to, kSize - 1);
}

}  // namespace

WKSMTPAlert::WKSMTPAlert()
    : server{},
      toList{},
      ccList{},
      subject{},
      fromId{},
      socket(-1),
      receiveBuffer{},
      receivedCount(0) {
  wkagent::CopyBounded(server, kLocalHost);
  Current().Enter(this);
}

WKSMTPAlert::~WKSMTPAlert() { Current().Leave(this); }

void WKSMTPAlert::SetMessage(char* text) { SetField(message, text); }
void WKSMTPAlert::SetToList(char* text) { SetField(toList, text); }
void WKSMTPAlert::SetCCList(char* text) { SetField(ccList, text); }
void WKSMTPAlert::SetSubject(char* text) { SetField(subject, text); }
void WKSMTPAlert::SetServer(char* text) { SetField(server, text); }

void WKSMTPAlert::SetFromID(char* text) {
  SetField(fromId, text != nullptr && text[0] == '\0' ? kDefaultSender : text);
}

int WKSMTPAlert::SendMessage() { return Send(nullptr); }

int WKSMTPAlert::Send(const std::atomic<bool>* stop) {
  sent_ = false;
  if (!wkagent::FileMailer::IsAvailable()) {
    wkagent::CopyBounded(statusText, "Mail component not available");
    LogStatus(statusText);
    return 1;
  }
  StoppableMailer mailer(stop);
  mailer.SetText(kServer, std::strcmp(server, "0.0.0.0") == 0 ? kLocalHost : server);
  mailer.SetText(kFrom, fromId);
  mailer.SetText(kTo, toList);
  mailer.SetText(kSubject, subject);
  if (ccList[0] != '\0') mailer.SetText(kCc, ccList);
  mailer.SetText(kMessage, message);
  sent_ = mailer.Do(kSend) == 0;
  return mailer.Destroy();
}

void WKSMTPAlert::Serialize() {
  if (message[0] == '\0') return;
  const wkagent::TimeStamp stamp = wkagent::FormatTimeStamp(std::time(nullptr));
  wkagent::CopyBounded(receiveBuffer, stamp.data());
  Record record{};
  CopyText(record.from, fromId);
  CopyText(record.to, toList);
  CopyText(record.cc, ccList);
  CopyText(record.subject, subject);
  CopyText(record.message, message);
  const std::string_view bytes(reinterpret_cast<const char*>(&record), sizeof(record));
  if (!wkagent::AppendToSpool(kKind, stamp, bytes)) wkagent::LogSpoolFailure(*this, kKind);
}

int WKSMTPAlert::Deserialize(char* path) { return ReplayFile(path, safeReplay_, nullptr); }

int WKSMTPAlert::Replay(char* path, const std::atomic<bool>& stop) {
  return ReplayFile(path, true, &stop);
}

int WKSMTPAlert::ReplayFile(const char* path, bool keep, const std::atomic<bool>* stop) {
  wkagent::File file = wkagent::OpenSpool(path);
  if (file == nullptr) return 0;
  wkagent::SpoolReplayer replayer({.keep = keep, .stop = stop});
  Record record{};
  while (std::fread(&record, sizeof(record), 1, file.get()) == 1) {
    replayer.Try({reinterpret_cast<const char*>(&record), sizeof(record)}, [&] {
      CopyText(fromId, record.from);
      CopyText(toList, record.to);
      CopyText(ccList, record.cc);
      CopyText(subject, record.subject);
      CopyText(message, record.message);
      Send(stop);
      return sent_;
    });
  }
  if (wkagent::CouldNotRead(*this, file.get())) return 1;
  return replayer.Finish(path, std::move(file));
}

int WKSMTPAlert::InstaSend() {
  LoadSettings();
  return SendMessage();
}

void WKSMTPAlert::LoadSettings() {
  struct stat status {};
  if (::stat(kEncrypted, &status) != 0) return;
  const wkagent::DecryptedSettings settings(*this, kEncrypted, kPlain);
  ReadSMTPConfig(const_cast<char*>(kPlain));
}

void WKSMTPAlert::ReadSMTPConfig(char* path) {
  wkagent::ReadSettings(*this, path, [this](xmlNode* root) { traverseXMLTree(root); });
}

void WKSMTPAlert::traverseXMLTree(_xmlNode* node) {
  wkagent::WalkElements(node, [this](xmlNode* element) {
    if (!wkagent::HasName(element, "SMTPServer")) return;
    SetServer(wkagent::ContentOf(element).get());
  });
}

void WKSMTPAlert::SMTPAlertAvailable(const char* name) {
  wkagent::ReplayThrough(Current().Get(), name);
}

void WKSMTPAlert::SMTPConfigAvailable(const char* /*name*/) {
  if (WKSMTPAlert* const alert = Current().Get(); alert != nullptr) alert->LoadSettings();
}

void WKSMTPAlert::Read_Socket() { receivedCount = ::read(socket, receiveBuffer, kReceiveSize); }

int WKSMTPAlert::Send_Socket(char* text) {
  if (text == nullptr) return 0;
  const wkagent::BrokenPipeGuard guard;
  const ssize_t written = ::write(socket, text, std::strlen(text));
  if (written < 0 && errno == EPIPE) {
    wkagent::CopyBounded(statusText, "Got SIGPIPE");
    LogStatus(statusText);
  }
  return static_cast<int>(written);
}

void WKSMTPAlert::SetSafeReplay(bool on) { safeReplay_ = on; }

bool WKSMTPAlert::WasSent() { return sent_; }
