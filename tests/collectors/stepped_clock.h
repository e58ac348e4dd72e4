#ifndef WKAGENT_TESTS_COLLECTORS_STEPPED_CLOCK_H
#define WKAGENT_TESTS_COLLECTORS_STEPPED_CLOCK_H

#include <chrono>

namespace wkagent::test {

// For programs that are built with stepped_clock.cpp, which stands between them, the library
// included, and the C library.

// While it lives, the time of day may be set, as an administrator does. Waits for a time of day end
// accordingly; waits for a span of time do not care.
class SteppedClock {
 public:
  SteppedClock() = default;
  ~SteppedClock();
  SteppedClock(const SteppedClock&) = delete;
  SteppedClock& operator=(const SteppedClock&) = delete;

  static void Step(std::chrono::seconds by);
};

// While it lives, waits of threads for a span of more than a minute end after a tenth of a second,
// but not those for a time of day.
class ShortWaits {
 public:
  ShortWaits();
  ~ShortWaits();
  ShortWaits(const ShortWaits&) = delete;
  ShortWaits& operator=(const ShortWaits&) = delete;
};

// While it lives, sockets that are given a time limit get a thirtieth of it.
class ShortLimits {
 public:
  ShortLimits();
  ~ShortLimits();
  ShortLimits(const ShortLimits&) = delete;
  ShortLimits& operator=(const ShortLimits&) = delete;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_COLLECTORS_STEPPED_CLOCK_H
