#include "output/fixed_clock.h"

#include <atomic>

#include <sys/time.h>

namespace {

constexpr std::time_t kRunning = -1;
std::atomic<std::time_t> fixed{kRunning};

}  // namespace

// Takes the place of the C library's.
extern "C" std::time_t time(std::time_t* out) noexcept {
  std::time_t now = fixed;
  if (now == kRunning) {
    timeval reading{};
    gettimeofday(&reading, nullptr);
    now = reading.tv_sec;
  }
  if (out != nullptr) *out = now;
  return now;
}

namespace wkagent::test {

FixedClock::FixedClock(std::time_t now) { Set(now); }
FixedClock::~FixedClock() { Set(kRunning); }
void FixedClock::Set(std::time_t now) { fixed = now; }

}  // namespace wkagent::test
