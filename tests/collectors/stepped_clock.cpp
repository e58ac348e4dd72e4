#include "collectors/stepped_clock.h"

#include <atomic>
#include <ctime>

#include <dlfcn.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

constexpr std::time_t kLong = 60;
constexpr std::time_t kThirty = 30;
constexpr long kTenth = 100'000'000;
constexpr long kSecond = 1'000'000'000;

std::atomic<std::time_t> step = 0;
std::atomic<bool> waitsAreShort = false;
std::atomic<bool> limitsAreShort = false;

int SystemTime(clockid_t clock, timespec* out) {
  return static_cast<int>(syscall(SYS_clock_gettime, clock, out));
}

// The time at which a wait ends that is to end then.
timespec Shortened(clockid_t clock, const timespec& end) {
  timespec now{};
  SystemTime(clock, &now);
  if (!waitsAreShort || clock != CLOCK_MONOTONIC || end.tv_sec - now.tv_sec < kLong) return end;
  now.tv_nsec += kTenth;
  now.tv_sec += now.tv_nsec / kSecond;
  now.tv_nsec %= kSecond;
  return now;
}

}  // namespace

// These take the place of the C library's, also for shared libraries.

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec* out) noexcept {
  const int result = SystemTime(clock, out);
  if (clock == CLOCK_REALTIME) out->tv_sec += step;
  return result;
}

extern "C" __attribute__((visibility("default"))) std::time_t time(std::time_t* out) noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  if (out != nullptr) *out = now.tv_sec;
  return now.tv_sec;
}

extern "C" __attribute__((visibility("default"))) int pthread_cond_clockwait(
    pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock, const timespec* end) {
  using Wait = int (*)(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*);
  static const auto wait = reinterpret_cast<Wait>(dlsym(RTLD_NEXT, "pthread_cond_clockwait"));
  const timespec shortened = Shortened(clock, *end);
  return wait(condition, mutex, clock, &shortened);
}

extern "C" __attribute__((visibility("default"))) int setsockopt(int socket, int level, int option,
                                                                 const void* value,
                                                                 socklen_t size) noexcept {
  timeval limit{};
  if (limitsAreShort && level == SOL_SOCKET && (option == SO_SNDTIMEO || option == SO_RCVTIMEO)) {
    limit.tv_sec = static_cast<const timeval*>(value)->tv_sec / kThirty;
    value = &limit;
  }
  return static_cast<int>(syscall(SYS_setsockopt, socket, level, option, value, size));
}

namespace wkagent::test {

SteppedClock::~SteppedClock() { step = 0; }

void SteppedClock::Step(std::chrono::seconds by) { step += by.count(); }

ShortWaits::ShortWaits() { waitsAreShort = true; }

ShortWaits::~ShortWaits() { waitsAreShort = false; }

ShortLimits::ShortLimits() { limitsAreShort = true; }

ShortLimits::~ShortLimits() { limitsAreShort = false; }

}  // namespace wkagent::test
