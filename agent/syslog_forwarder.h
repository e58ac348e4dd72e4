#ifndef WKAGENT_AGENT_SYSLOG_FORWARDER_H
#define WKAGENT_AGENT_SYSLOG_FORWARDER_H

#include <cstdint>
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

  // The number of lines that wait, or have waited, for their turn, and of those the number that
  // have been sent, stored or lost: the first ones, as their turns are in order.
  [[nodiscard]] std::uint64_t Taken() const { return sender_.GetCounters().queued; }
  [[nodiscard]] std::uint64_t Settled() const;

  // Waits a while until what was taken is sent or stored.
  void Finish();

  // What has become of the lines, in one line.
  [[nodiscard]] std::string Describe() const;

 private:
  WKSyslogSender sender_;
  SyslogLine line_;
  std::uint64_t forwarded_ = 0;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_SYSLOG_FORWARDER_H
