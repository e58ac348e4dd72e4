#include "agent/spool_replay.h"

#include <algorithm>
#include <atomic>
#include <cstddef>

#include <wkagent/alert.h>

#include "agent/report.h"

namespace wkagent {
namespace {

// True where the settings that there are could be read. Where not, the mail would go to another
// server: the one of this machine.
bool LoadSettingsOf(WKSMTPAlert& mail) {
  mail.statusText[0] = '\0';
  mail.LoadSettings();
  return mail.statusText[0] == '\0';  // else it holds what was logged
}

// With a sender of its own, rather than through the static entries: these use the object that was
// constructed last in the process, which may be one of the worker's.
template <typename Sender>
void ReplayThrough(const std::string& path, const std::atomic<bool>& stop) {
  Sender sender;
  sender.InitializeLogMessage(ReportLibraryMessage);
  if constexpr (requires { LoadSettingsOf(sender); }) {
    if (!LoadSettingsOf(sender)) return;
  }
  std::string copy = path;
  // What could not be taken out of its file is still there, and is seen to be.
  (void)sender.Replay(copy.data(), stop);
}

constexpr std::array<AlertKind, 3> kKinds = {{
    {"SMTP.", "wk-alert-mail", "mails", ReplayThrough<WKSMTPAlert>},
    {"SNMP.", "wk-alert-trap", "traps", ReplayThrough<WKSNMPAlert>},
    {"SysLog.", "wk-alert-log", "log entries", ReplayThrough<WKSysLog>},
}};

}  // namespace

bool IsSpoolName(const std::string& name) {
  return std::any_of(kKinds.begin(), kKinds.end(),
                     [&](const AlertKind& kind) { return IsSpoolName(kind, name); });
}

SpoolReplay::SpoolReplay(const std::string& home, std::chrono::seconds interval) {
  for (std::size_t i = 0; i < kKinds.size(); ++i) {
    kinds_[i] = std::make_unique<KindReplay>(kKinds[i], home, interval);
  }
}

SpoolReplay::~SpoolReplay() {
  for (const auto& kind : kinds_) kind->Stop();  // all at once; each is then waited for
}

void SpoolReplay::SetInterval(std::chrono::seconds interval) {
  for (const auto& kind : kinds_) kind->SetInterval(interval);
}

}  // namespace wkagent
