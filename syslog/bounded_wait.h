#ifndef WKAGENT_SYSLOG_BOUNDED_WAIT_H
#define WKAGENT_SYSLOG_BOUNDED_WAIT_H

#include <algorithm>
#include <chrono>

namespace wkagent {

// A time to wait whose end a clock can hold. Hosts wait for ever with the largest number there is,
// which added to a clock's time would lie in the past.
inline std::chrono::milliseconds Bounded(std::chrono::milliseconds timeout) {
  constexpr std::chrono::milliseconds kYear = std::chrono::hours(24 * 365);
  return std::clamp(timeout, std::chrono::milliseconds::zero(), kYear);
}

}  // namespace wkagent

#endif  // WKAGENT_SYSLOG_BOUNDED_WAIT_H
