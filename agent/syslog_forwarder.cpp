#include "agent/syslog_forwarder.h"

#include <array>
#include <climits>

#include <unistd.h>

namespace wkagent {
namespace {

constexpr std::chrono::seconds kLongestDrain(5);

std::string HostName() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : std::string();
}

}  // namespace

SyslogForwarder::SyslogForwarder() : line_(HostName(), getpid()) { sender_.SetSafeDelivery(true); }

void SyslogForwarder::Forward(const tagWKEventData& event, bool login) {
  // A line that is not taken is reported by the sender, which also counts it.
  (void)sender_.send(line_.Format(event, login ? "ELA" : "EDA"));
  ++forwarded_;
}

std::uint64_t SyslogForwarder::Settled() const {
  const WKSyslogSender::Counters counters = sender_.GetCounters();
  // What never waited was settled at once, before lines that do wait.
  const std::uint64_t atOnce = forwarded_ - counters.queued;
  return counters.sent + counters.stored + counters.dropped - atOnce;
}

void SyslogForwarder::Finish() { sender_.WaitUntilEmpty(kLongestDrain); }

std::string SyslogForwarder::Describe() const {
  const WKSyslogSender::Counters counters = sender_.GetCounters();
  const std::uint64_t done = counters.sent + counters.stored + counters.dropped;
  const std::uint64_t waiting = counters.queued > done ? counters.queued - done : 0;
  return "wkagentd: syslog: sent " + std::to_string(counters.sent) + ", stored " +
         std::to_string(counters.stored) + ", sent later " + std::to_string(counters.retried) +
         ", lost " + std::to_string(counters.dropped) + ", waiting " + std::to_string(waiting);
}

}  // namespace wkagent
