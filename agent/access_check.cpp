#include "agent/access_check.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <unistd.h>

#include <wkagent/syslog.h>

#include "agent/check/syslog_check.h"
#include "agent/home_path.h"

namespace wkagent {
namespace {

class AccessCheck {
 public:
  explicit AccessCheck(const std::string& user) : user_(user) {}

  // That what stands there may be used like this (access(2)); what is not there is no problem.
  void Check(const std::string& path, int use) {
    if (access(path.c_str(), use) == 0 || errno == ENOENT || errno == ENOTDIR) return;
    const char* const verb = (use & W_OK) != 0 ? "write to" : "read";
    problems_.push_back(path + ": " + user_ + " cannot " + verb + " it: " + std::strerror(errno));
  }

  std::vector<std::string> TakeProblems() { return std::move(problems_); }

 private:
  const std::string& user_;
  std::vector<std::string> problems_;
};

// The agent makes the store where it is missing.
std::string StoreOrItsFolder() {
  const std::filesystem::path store(WKSyslogRetryHandler::RETRY_DIRECTORY);
  std::error_code error;
  return std::filesystem::exists(store, error) ? store : store.parent_path();
}

bool SendsAlerts(const std::string& home, const Options& options) {
  std::error_code error;
  return !options.holdAlerts &&
         (std::filesystem::exists(home + "/config/SMTPSettings.cfg", error) ||
          std::filesystem::exists(home + "/config/SNMPSettings.cfg", error));
}

}  // namespace

std::vector<std::string> CheckAccess(const std::string& home, const Options& options) {
  AccessCheck check(options.user);
  check.Check(home + "/bin", X_OK);
  // The settings of alerts are decrypted beside the encrypted file.
  check.Check(home + "/config", R_OK | X_OK | (SendsAlerts(home, options) ? W_OK : 0));
  for (const char* const folder : {"/tmp", "/outbox"}) {
    check.Check(home + folder, R_OK | W_OK | X_OK);
  }
  for (const char* const file : kSettingsFiles) check.Check(home + "/config/" + file, R_OK);
  const bool reopened = options.follow || options.feedKind == FeedKind::kAccesslog;
  if (reopened && options.feedPath != "-") check.Check(options.feedPath, R_OK);
  if (options.follow && options.feedPath != "-") {
    check.Check(std::filesystem::path(options.feedPath).parent_path(), R_OK | X_OK);
  }
  if (!options.caFile.empty()) check.Check(options.caFile, R_OK);
  if (options.syslog) {
    check.Check(kSyslogSettingsPath, R_OK);
    check.Check(StoreOrItsFolder(), W_OK | X_OK);
  }
  return check.TakeProblems();
}

}  // namespace wkagent
