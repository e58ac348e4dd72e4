#include "agent/enter_home.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

#include <sys/file.h>

#include <wkagent/core.h>

#include "agent/access_check.h"
#include "agent/account.h"
#include "agent/check/syslog_check.h"
#include "agent/home_check.h"
#include "agent/privileges.h"
#include "agent/report.h"
#include "agent/sandbox.h"
#include "core/own_file.h"

namespace wkagent {
namespace {

constexpr mode_t kLockMode = 0640;

// Reports each; true when there are none.
bool HasNone(const std::vector<std::string>& problems) {
  for (const std::string& problem : problems) Report(problem);
  return problems.empty();
}

ExitStatus CheckFolders(const std::string& home) {
  for (const char* folder : {"bin", "config", "tmp"}) {
    const std::string path = home + "/" + folder;
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) continue;
    Report(path + ": there is no such folder; a home holds bin, config, outbox and tmp");
    return kBadConfiguration;
  }
  return kDone;
}

ExitStatus FindUser(const std::string& text, Account& account) {
  account = CurrentAccount();
  if (text.empty()) return kDone;
  if (const std::string error = FindAccount(text, account); !error.empty()) {
    Report("--user " + text + ": " + error);
    return kUsageError;
  }
  return kDone;
}

bool IsSafe(const std::string& home, const Account& account, const Options& options,
            const std::string& sourceSettings) {
  std::vector<std::string> more;
  if (!sourceSettings.empty()) more.push_back(sourceSettings);
  if (options.syslog) more.emplace_back(kSyslogSettingsPath);
  if (!HasNone(CheckHome(home, account, more))) return false;
  const std::string above = CheckFoldersAbove(home, account);
  if (!above.empty()) Report("warning: " + above);
  return true;
}

// The rights that the agent works with.
bool TakeRights(const std::string& home, const Account& account, const Options& options) {
  const std::string error = options.user.empty() ? DropCapabilities() : BecomeUser(account);
  if (!error.empty()) {
    Report("rights cannot be given up: " + error);
    return false;
  }
  return options.user.empty() || HasNone(CheckAccess(home, options));
}

ExitStatus TakeLock(const std::string& home, Fd& lock) {
  lock = OpenOwnFile("../tmp/wkagentd.lock", O_RDWR | O_CREAT, kLockMode);
  if (lock.IsOpen() && flock(lock.Get(), LOCK_EX | LOCK_NB) == 0) return kDone;
  Report(home + "/tmp/wkagentd.lock: " +
         (errno == EWOULDBLOCK ? "another wkagentd works in this home" : std::strerror(errno)));
  return kOutputFailed;
}

ExitStatus Confine(const Options& options) {
  WKCommands::SetForbidden(true);
  if (!options.sandbox) {
    Report("--no-sandbox: every system call is allowed");
    return kDone;
  }
  const std::string error = EnterSandbox();
  if (error.empty()) return kDone;
  Report("the sandbox cannot be entered: " + error + "; --no-sandbox goes without");
  return kInternalError;
}

}  // namespace

std::string AbsoluteHome(const std::string& home) {
  std::error_code error;
  std::string path = std::filesystem::absolute(home, error).lexically_normal();
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

ExitStatus EnterHome(const std::string& home, const Options& options,
                     const std::string& sourceSettings, Fd& lock) {
  if (const ExitStatus status = CheckFolders(home); status != kDone) return status;
  Account account;
  if (const ExitStatus status = FindUser(options.user, account); status != kDone) return status;
  if (!IsSafe(home, account, options, sourceSettings)) return kBadConfiguration;
  if (!TakeRights(home, account, options)) return kBadConfiguration;
  if (chdir((home + "/bin").c_str()) != 0) {
    Report(home + "/bin: " + std::strerror(errno));
    return kBadConfiguration;
  }
  umask(027);  // what libraries write is for the agent's group at most
  if (const ExitStatus status = TakeLock(home, lock); status != kDone) return status;
  return Confine(options);
}

}  // namespace wkagent
