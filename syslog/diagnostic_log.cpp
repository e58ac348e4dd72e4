#include "syslog/diagnostic_log.h"

#include <iostream>
#include <system_error>

#include <wkagent/mutex.h>

#include "syslog/append_file.h"

namespace wkagent {
namespace {

constexpr mode_t kMode = 0644;

// Keeps the lines of all threads, and of both logs on standard error, apart. Never destroyed, as
// the logs are not.
Mutex& ReportMutex() {
  static Mutex& mutex = *new Mutex;
  return mutex;
}

}  // namespace

DiagnosticLog& senderLog = *new DiagnosticLog("/opt/mossgrove/log/syslog_sender.log");
DiagnosticLog& retryLog = *new DiagnosticLog("/opt/mossgrove/log/syslog_retry.log");

DiagnosticLog::DiagnosticLog(const char* path) { Attach(file_, OpenForAppending(path, kMode)); }

void DiagnosticLog::Report(std::string_view message) {
  const std::string line = std::string(message) + '\n';
  const MutexLock lock(ReportMutex());
  std::cerr << line << std::flush;
  if (!file_.is_open()) return;
  file_ << line << std::flush;
  file_.clear();  // a disk that was full once may have room for the next line
}

void DiagnosticLog::ReportError(std::string message, int error) {
  Report(message.append(std::system_category().message(error)));
}

}  // namespace wkagent
