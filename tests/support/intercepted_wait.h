#ifndef WKAGENT_TESTS_SUPPORT_INTERCEPTED_WAIT_H
#define WKAGENT_TESTS_SUPPORT_INTERCEPTED_WAIT_H

#include <chrono>
#include <functional>

namespace wkagent::test {

// While it lives, sees each wait on a condition variable that has a deadline, in the whole process,
// and may change how long it lasts. For programs that are built with support/intercepted_wait.cpp.
// One at a time.
//
//   const InterceptedWait none([](std::chrono::nanoseconds) { return 0s; });
class InterceptedWait {
 public:
  // Gets how long a wait would last and returns how long it will. It is called by the thread that
  // is about to wait and still holds its lock, so it may keep the thread there.
  using Change = std::function<std::chrono::nanoseconds(std::chrono::nanoseconds)>;

  explicit InterceptedWait(Change change);
  ~InterceptedWait();
  InterceptedWait(const InterceptedWait&) = delete;
  InterceptedWait& operator=(const InterceptedWait&) = delete;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_INTERCEPTED_WAIT_H
