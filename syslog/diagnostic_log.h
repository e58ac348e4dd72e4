#ifndef WKAGENT_SYSLOG_DIAGNOSTIC_LOG_H
#define WKAGENT_SYSLOG_DIAGNOSTIC_LOG_H

#include <fstream>
#include <string_view>

namespace wkagent {

// Where the syslog classes tell operators what went wrong. Any thread may use it.
class DiagnosticLog {
 public:
  // Opens the file for appending. Where that fails, messages go to standard error only.
  explicit DiagnosticLog(const char* path);

  // Writes the message, in up to two parts, as one line to standard error, then to the file.
  // Without memory for the line it may come in pieces.
  void Report(std::string_view message, std::string_view more = {}) noexcept;

  // The same, with the text of an error number behind the message.
  void ReportError(std::string_view message, int error) noexcept;

 private:
  // Null where there is none.
  [[nodiscard]] std::ostream* OpenFile();

  std::ofstream file_;
};

// One of each a process, open from when the library is loaded. They are never closed, because
// threads may still report while the process ends; each line is flushed.
extern DiagnosticLog& senderLog;
extern DiagnosticLog& retryLog;

}  // namespace wkagent

#endif  // WKAGENT_SYSLOG_DIAGNOSTIC_LOG_H
