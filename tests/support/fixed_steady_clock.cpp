#include "support/fixed_steady_clock.h"

#include <ctime>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

thread_local bool stopped = false;
thread_local timespec reading{};

}  // namespace

// Takes the place of the C library's, also for shared libraries.
extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec* out) noexcept {
  if (clock != CLOCK_MONOTONIC || !stopped) {
    return static_cast<int>(syscall(SYS_clock_gettime, clock, out));
  }
  *out = reading;
  return 0;
}

namespace wkagent::test {

FixedSteadyClock::FixedSteadyClock(Clock::time_point now) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(now);
  reading.tv_sec = seconds.time_since_epoch().count();
  reading.tv_nsec = std::chrono::nanoseconds(now - seconds).count();
  stopped = true;
}

FixedSteadyClock::~FixedSteadyClock() { stopped = false; }

}  // namespace wkagent::test
