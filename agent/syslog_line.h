#ifndef WKAGENT_AGENT_SYSLOG_LINE_H
#define WKAGENT_AGENT_SYSLOG_LINE_H

#include <ctime>
#include <string>

#include <wkagent/output.h>

namespace wkagent {

// Writes events as syslog messages (RFC 5424). One object belongs to one thread.
class SyslogLine {
 public:
  // The names of this machine and process, as every line bears them. A host name that is empty or
  // has other characters than the standard's becomes "-".
  SyslogLine(const std::string& host, int process);

  // The message of an event, without a line feed: facility 13 (log audit), severity 6, or 4 where
  // the status is not 0, and the fields that are not empty as structured data. `type` is the MSGID.
  // Valid until the next call.
  [[nodiscard]] const std::string& Format(const tagWKEventData& event, const char* type);

 private:
  const std::string& TimeStamp(std::time_t time);

  const std::string origin_;  // what stands between the time and the MSGID
  std::time_t time_ = 0;      // that of timeText_
  std::string timeText_;
  std::string text_;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_SYSLOG_LINE_H
