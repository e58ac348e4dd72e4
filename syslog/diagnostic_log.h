#ifndef WKAGENT_SYSLOG_DIAGNOSTIC_LOG_H
#define WKAGENT_SYSLOG_DIAGNOSTIC_LOG_H

#include <fstream>
#include <string>
#include <string_view>

namespace wkagent {

// Where the syslog classes tell operators what went wrong. Any thread may use it.
class DiagnosticLog {
 public:
  // Opens the file for appending. Where that fails, messages go to standard error only.
  explicit DiagnosticLog(const char* path);

  // Writes the message as one line to standard error, then to the file.
  void Report(std::string_view message);

  // The same, with the text of an error number behind the message.
  void ReportError(std::string message, int error);

 private:
  std::ofstream file_;
};

// One of each a process, open from when the library is loaded. They are never closed, because
// threads may still report while the process ends; each line is flushed.
extern DiagnosticLog& senderLog;
extern DiagnosticLog& retryLog;

}  // namespace wkagent

#endif  // WKAGENT_SYSLOG_DIAGNOSTIC_LOG_H
