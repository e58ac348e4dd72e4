#ifndef WKAGENT_AGENT_SYSLOG_FORWARDER_H
#define WKAGENT_AGENT_SYSLOG_FORWARDER_H

#include <string>

#include <wkagent/output.h>
#include <wkagent/syslog.h>

#include "agent/syslog_line.h"

namespace wkagent {

// Forwards kept events to the remote syslog collector that the library's settings name. It belongs
// to one thread.
class SyslogForwarder {
 public:
  SyslogForwarder();

  // Takes one event, a login or logout or else a change. It is sent, or stored to be sent later.
  void Forward(const tagWKEventData& event, bool login);

  // Waits a while until what was taken is sent or stored.
  void Finish();

  // What has become of the lines, in one line.
  [[nodiscard]] std::string Describe() const;

 private:
  WKSyslogSender sender_;
  SyslogLine line_;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_SYSLOG_FORWARDER_H
