#ifndef WKAGENT_TESTS_SUPPORT_WAIT_UNTIL_H
#define WKAGENT_TESTS_SUPPORT_WAIT_UNTIL_H

#include <chrono>
#include <thread>

namespace wkagent::test {

// Far beyond what anything takes on a busy machine: who reaches it, waits for what never comes.
inline constexpr std::chrono::seconds kDeadline(30);

// Waits until `condition()` is true; false when it was not by the deadline.
template <typename Condition>
[[nodiscard]] bool WaitUntil(Condition condition, std::chrono::seconds deadline = kDeadline) {
  const auto end = std::chrono::steady_clock::now() + deadline;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_WAIT_UNTIL_H
