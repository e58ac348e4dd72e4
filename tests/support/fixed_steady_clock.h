#ifndef WKAGENT_TESTS_SUPPORT_FIXED_STEADY_CLOCK_H
#define WKAGENT_TESTS_SUPPORT_FIXED_STEADY_CLOCK_H

#include <chrono>

namespace wkagent::test {

// Stops the monotonic clock for what the calling thread reads, until the object ends. For programs
// that are built with support/fixed_steady_clock.cpp.
class FixedSteadyClock {
 public:
  explicit FixedSteadyClock(std::chrono::steady_clock::time_point now);
  ~FixedSteadyClock();
  FixedSteadyClock(const FixedSteadyClock&) = delete;
  FixedSteadyClock& operator=(const FixedSteadyClock&) = delete;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_FIXED_STEADY_CLOCK_H
