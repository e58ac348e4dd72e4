#ifndef WKAGENT_TESTS_OUTPUT_FIXED_CLOCK_H
#define WKAGENT_TESTS_OUTPUT_FIXED_CLOCK_H

#include <ctime>

namespace wkagent::test {

// Stops the clock that this program's own objects read with time(2) until the object ends. For
// programs that are made of the library's objects and built with output/fixed_clock.cpp.
class FixedClock {
 public:
  explicit FixedClock(std::time_t now);
  ~FixedClock();
  FixedClock(const FixedClock&) = delete;
  FixedClock& operator=(const FixedClock&) = delete;

  void Set(std::time_t now);
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_OUTPUT_FIXED_CLOCK_H
