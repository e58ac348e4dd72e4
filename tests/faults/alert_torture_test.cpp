// Alerts, gathered, spooled and sent, while calls fail.

#include <cstring>
#include <iostream>
#include <string>

#include <gtest/gtest.h>
#include <syslog.h>

#include <wkagent/alert.h>
#include <wkagent/components.h>
#include <wkagent/crypto.h>
#include <wkagent/filter.h>

#include "faults/fault_control.h"
#include "faults/ledger.h"
#include "faults/torture.h"
#include "support/text.h"

namespace {

// What the components were told to send in this round, one behind the other. Without allocations,
// which could fail.
char sent[65536];
std::size_t sentSize = 0;

void Send(const char* text) {
  const std::size_t size = std::min(std::strlen(text), sizeof(sent) - 1 - sentSize);
  std::memcpy(sent + sentSize, text, size);
  sentSize += size;
  sent[sentSize] = '\0';
}

constexpr int kMailMessage = 30;
constexpr int kTrapValue = 2;  // the index of the variable that carries the message
char handle;
char nextMessage[512];

}  // namespace

// Components that send nothing.
void* FileMailer_Create(ComponentEventSink /*sink*/, void* /*wrapper*/, const char* /*key*/) {
  return &handle;
}
int FileMailer_Set(void* /*handle*/, int property, int /*index*/, const void* value, int) {
  if (property == kMailMessage) {
    std::snprintf(nextMessage, sizeof(nextMessage), "%s", static_cast<const char*>(value));
  }
  return 0;
}
int FileMailer_Do(void* /*handle*/, int, int, void**, int*) {
  Send(nextMessage);
  return 0;
}
int FileMailer_Destroy(void* /*handle*/) { return 0; }
void* SNMPAgent_Create(ComponentEventSink /*sink*/, void* /*wrapper*/, const char* /*key*/) {
  return &handle;
}
int SNMPAgent_Set(void* /*handle*/, int /*property*/, int index, const void* value, int length) {
  if (index == kTrapValue && length > 0) {
    std::snprintf(nextMessage, sizeof(nextMessage), "%.*s", length,
                  static_cast<const char*>(value));
  }
  return 0;
}
void* SNMPAgent_Get(void* /*handle*/, int, int, int*) { return nullptr; }
int SNMPAgent_Do(void* /*handle*/, int, int, void**, int*) {
  Send(nextMessage);
  return 0;
}
int SNMPAgent_Destroy(void* /*handle*/) { return 0; }

namespace wkagent::test {
namespace {

constexpr char kSettings[] =
    "<Settings><SMTPServer>10.0.0.9</SMTPServer><SNMPConsoleMachineName>10.0.0.8"
    "</SNMPConsoleMachineName><SNMPEOI>1.3.6.1.4.1.32473.1</SNMPEOI>"
    "<TrapDescID>1.3.6.1.4.1.32473.2</TrapDescID></Settings>";
constexpr char kGuid[] = "1B4E28BA-2FA1-11D2-883F-0016D3CCA427";

std::string Encrypted() { return CRijndael().EncryptSettings(kSettings, kGuid); }

// A filter with a mail and a trap to send.
void Gather(WKFilter& filter) {
  auto wrapper = std::make_unique<AlertWrapper>(1);
  auto mail = std::make_unique<WKSMTPAlertObject>();
  mail->Add("to@acme", "", "from@acme", "subject");
  wrapper->SetSMTPAlert(mail.release());
  AlertWrapper* pointer = wrapper.get();
  filter.alerts.AddNode(&pointer, sizeof(pointer));
  (void)wrapper.release();
  wrapper = std::make_unique<AlertWrapper>(2);
  pointer = wrapper.get();
  filter.alerts.AddNode(&pointer, sizeof(pointer));
  (void)wrapper.release();
}

// Spools a text as both alerts; true where nothing was said of a failure.
bool Spool(const std::string& text) {
  Messages::Forget();
  WKFilter filter(Text("none"));
  filter.InitializeLogMessage(Messages::Take);
  Gather(filter);
  filter.Serialize(Text(text));
  return !Messages::Any();
}

template <typename Sender>
bool Replay(const std::string& path) {
  Sender sender;
  sender.InitializeLogMessage(Messages::Take);
  sender.SetSafeReplay(true);
  if constexpr (requires { sender.LoadSettings(); }) sender.LoadSettings();
  return sender.Deserialize(Text(path)) == 0;
}

std::vector<std::string> SpoolFiles(const AgentHome& home) {
  const WithoutFaults within;
  return home.List("tmp");
}

Outcome SpoolAndSend(const AgentHome& home) {
  Ledger ledger(home);
  sentSize = 0;
  try {
    const std::string name = ledger.NextName();
    if (Spool(name)) ledger.NoteTaken(name);
    for (const std::string& file : SpoolFiles(home)) {
      const bool mail = file.starts_with("SMTP");
      const std::string path = "../tmp/" + file;
      (void)(mail ? Replay<WKSMTPAlert>(path) : Replay<WKSNMPAlert>(path));
    }
  } catch (const std::bad_alloc&) {
  }
  const WithoutFaults within;
  ledger.NoteArrived(std::string(sent, sentSize));
  const bool leaksPlain =
      home.Exists("config/SMTPSettings.xml") || home.Exists("config/SNMPSettings.xml");
  if (leaksPlain) std::cerr << "the plain settings are left\n";
  if (!ledger.AllTakenAre(AllText(home, "tmp"))) {
    std::cerr << "lost: " << ledger.Missing(AllText(home, "tmp")) << '\n';
    return {.complete = false, .told = false};
  }
  const bool complete = ledger.AllNamedAre("") && home.List("tmp").empty();
  // What is in the spool is not lost; what was not taken, the library said.
  return {.complete = complete && !leaksPlain, .told = !leaksPlain};
}

Torture Tortured() {
  Torture torture(SpoolAndSend);
  torture.With("config/DaemonSettings.xml",
               std::string("<S><WorkspaceGuid>") + kGuid + "</WorkspaceGuid></S>");
  torture.With("config/SMTPSettings.cfg", Encrypted());
  torture.With("config/SNMPSettings.cfg", Encrypted());
  return torture;
}

TEST(TorturedAlerts, AreSentOrStayInTheirSpoolWhereMemoryRunsOut) {
  // libxml2 loses a file's reader that it has no memory for.
  Tortured().Allowing(4).Fail({{"allocate", "errno:ENOMEM"}, {"allocate", "errno:ENOMEM", 0}});
}

TEST(TorturedAlerts, AreSentOrStayInTheirSpoolWhereFilesFail) {
  Tortured().Fail({{"open", "errno:EMFILE"},
                   {"open", "errno:EMFILE", 0},
                   {"write", "errno:ENOSPC"},
                   {"write", "errno:ENOSPC", 0},
                   {"write", "short"},
                   {"read", "errno:EIO"},
                   {"read", "errno:EIO", 0}});
}

TEST(TorturedAlerts, ThatWereTakenAreSentByTheNextProcessWhereThisOneIsKilled) {
  Tortured().Fail({{"open", "kill-before"},
                   {"open", "kill-after"},
                   {"write", "kill-before"},
                   {"write", "kill-after"},
                   {"unlink", "kill-before"},
                   {"unlink", "kill-after"}});
}

}  // namespace
}  // namespace wkagent::test
