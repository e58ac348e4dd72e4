#include "support/intercepted_wait.h"

#include <ctime>
#include <memory>
#include <mutex>
#include <utility>

#include <dlfcn.h>
#include <pthread.h>

namespace {

using std::chrono::nanoseconds;
using wkagent::test::InterceptedWait;

// A thread that is about to wait keeps the function that it has found.
std::mutex currentMutex;
std::shared_ptr<InterceptedWait::Change> current;

void SetCurrent(std::shared_ptr<InterceptedWait::Change> change) {
  const std::lock_guard<std::mutex> lock(currentMutex);
  current = std::move(change);
}

std::shared_ptr<InterceptedWait::Change> Current() {
  const std::lock_guard<std::mutex> lock(currentMutex);
  return current;
}

nanoseconds Now(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return std::chrono::seconds(now.tv_sec) + nanoseconds(now.tv_nsec);
}

timespec Changed(clockid_t clock, const timespec& deadline) {
  const std::shared_ptr<InterceptedWait::Change> change = Current();
  if (change == nullptr) return deadline;
  const nanoseconds until = std::chrono::seconds(deadline.tv_sec) + nanoseconds(deadline.tv_nsec);
  const nanoseconds wait = (*change)(until - Now(clock));
  const nanoseconds changed = Now(clock) + wait;
  const auto seconds = std::chrono::floor<std::chrono::seconds>(changed);
  return {.tv_sec = seconds.count(), .tv_nsec = (changed - seconds).count()};
}

template <typename Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// These take the places of the C library's, also for shared libraries.
extern "C" {

__attribute__((visibility("default"))) int pthread_cond_clockwait(pthread_cond_t* condition,
                                                                  pthread_mutex_t* mutex,
                                                                  clockid_t clock,
                                                                  const timespec* deadline) {
  static auto* const next = Next<decltype(pthread_cond_clockwait)>("pthread_cond_clockwait");
  const timespec until = Changed(clock, *deadline);
  return next(condition, mutex, clock, &until);
}

__attribute__((visibility("default"))) int pthread_cond_timedwait(pthread_cond_t* condition,
                                                                  pthread_mutex_t* mutex,
                                                                  const timespec* deadline) {
  static auto* const next = Next<decltype(pthread_cond_timedwait)>("pthread_cond_timedwait");
  const timespec until = Changed(CLOCK_REALTIME, *deadline);
  return next(condition, mutex, &until);
}
}

namespace wkagent::test {

InterceptedWait::InterceptedWait(Change change) {
  SetCurrent(std::make_shared<Change>(std::move(change)));
}

InterceptedWait::~InterceptedWait() { SetCurrent(nullptr); }

}  // namespace wkagent::test
