#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <type_traits>

#include <gtest/gtest.h>
#include <sys/time.h>

#include <wkagent/core.h>

#include "support/wait_until.h"

namespace wkagent::test {
namespace {

static_assert(std::is_standard_layout_v<CWKNanoDelay>);
static_assert(offsetof(CWKNanoDelay, delay) == 0);
static_assert(offsetof(CWKNanoDelay, delay) < offsetof(CWKNanoDelay, sleepTime));
static_assert(sizeof(CWKNanoDelay::delay) == 8 && std::is_signed_v<decltype(CWKNanoDelay::delay)>);
static_assert(std::is_same_v<decltype(CWKNanoDelay::sleepTime), timespec>);

constexpr long kInside[] = {1, 2, 500, 999'998'998, 999'998'999};
constexpr long kOutside[] = {LONG_MIN,      -500,        -1,          0,
                             999'999'000,   999'999'001, 999'999'999, 1'000'000'000,
                             2'000'000'000, LONG_MAX};

// SIGALRM every few milliseconds, to no effect but that it interrupts.
class Alarms {
 public:
  Alarms() {
    struct sigaction ignore {};
    ignore.sa_handler = [](int) {};
    sigaction(SIGALRM, &ignore, &before_);
    Every(5000);
  }
  ~Alarms() {
    Every(0);
    sigaction(SIGALRM, &before_, nullptr);
  }
  Alarms(const Alarms&) = delete;
  Alarms& operator=(const Alarms&) = delete;

 private:
  static void Every(suseconds_t microseconds) {
    const itimerval interval{{0, microseconds}, {0, microseconds}};
    setitimer(ITIMER_REAL, &interval, nullptr);
  }

  struct sigaction before_ {};
};

TEST(NanoDelay, ConstructorStoresADelayOfLessThanASecond) {
  for (const long delay : kInside) EXPECT_EQ(CWKNanoDelay(delay).GetDelaySetting(), delay);
}

TEST(NanoDelay, ConstructorReplacesAnyOtherDelay) {
  for (const long delay : kOutside) {
    EXPECT_EQ(CWKNanoDelay(delay).GetDelaySetting(), 999'999'000) << delay;
  }
}

TEST(NanoDelay, SetDelayReplacesADelayOfLessThanASecond) {
  for (const long delay : kInside) {
    CWKNanoDelay pause(7);
    EXPECT_EQ(pause.SetDelay(delay), 999'999'000);
    EXPECT_EQ(pause.GetDelaySetting(), 999'999'000) << delay;
  }
}

TEST(NanoDelay, SetDelayStoresAnyOtherDelay) {
  for (const long delay : kOutside) {
    CWKNanoDelay pause(7);
    EXPECT_EQ(pause.SetDelay(delay), 999'999'000);
    EXPECT_EQ(pause.GetDelaySetting(), delay);
    EXPECT_EQ(pause.delay, delay);
  }
}

TEST(NanoDelay, SecondSetDelayReplacesTheFirst) {
  CWKNanoDelay pause(7);
  pause.SetDelay(0);
  pause.SetDelay(500);
  EXPECT_EQ(pause.GetDelaySetting(), 999'999'000);
  pause.SetDelay(-1);
  EXPECT_EQ(pause.GetDelaySetting(), -1);
}

TEST(NanoDelay, SleepOfADelayThatTheSystemTakesGivesZero) {
  CWKNanoDelay pause(1000);
  EXPECT_EQ(pause.Sleep(), 0);
  EXPECT_EQ(pause.sleepTime.tv_sec, 0);
  EXPECT_EQ(pause.sleepTime.tv_nsec, 1000);
  pause.SetDelay(0);
  EXPECT_EQ(pause.Sleep(), 0);
  EXPECT_EQ(pause.sleepTime.tv_nsec, 0);
}

TEST(NanoDelay, SleepOfADelayThatTheSystemRefusesFails) {
  for (const long delay : {LONG_MIN, -1L, 1'000'000'000L, 2'000'000'000L, LONG_MAX}) {
    CWKNanoDelay pause(1);
    pause.SetDelay(delay);
    errno = 0;
    EXPECT_EQ(pause.Sleep(), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(pause.sleepTime.tv_sec, 0);
    EXPECT_EQ(pause.sleepTime.tv_nsec, delay);
  }
}

TEST(NanoDelay, SleepEndsAtASignal) {
  const Alarms alarms;
  CWKNanoDelay pause(0);  // the longest
  EXPECT_TRUE(WaitUntil([&] { return pause.Sleep() == -1 && errno == EINTR; }));
  EXPECT_EQ(pause.GetDelaySetting(), 999'999'000);
}

}  // namespace
}  // namespace wkagent::test
