#ifndef WKAGENT_TESTS_SUPPORT_GATE_H
#define WKAGENT_TESTS_SUPPORT_GATE_H

#include <condition_variable>
#include <mutex>

#include "support/wait_until.h"

namespace wkagent::test {

// Holds a thread up at a place that the test chooses.
//
//   Gate gate;
//   std::thread other([&] { gate.Pass(); });
//   ASSERT_TRUE(gate.WaitForVisitor());
//   ... the other thread stands there ...
//   gate.Open();
class Gate {
 public:
  // Waits until the gate is open, or the deadline.
  void Pass() {
    std::unique_lock<std::mutex> lock(mutex_);
    visited_ = true;
    opened_.wait_for(lock, kDeadline, [this] { return open_; });
  }

  [[nodiscard]] bool HasVisitor() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return visited_;
  }

  // Waits until some thread has come. False at the deadline.
  [[nodiscard]] bool WaitForVisitor() {
    return WaitUntil([this] { return HasVisitor(); });
  }

  void Open() {
    const std::lock_guard<std::mutex> lock(mutex_);
    open_ = true;
    opened_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable opened_;
  bool visited_ = false;
  bool open_ = false;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_GATE_H
