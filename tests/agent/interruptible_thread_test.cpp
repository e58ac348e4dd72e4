#include "agent/interruptible_thread.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <future>

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include "core/handles.h"
#include "support/gate.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

// Ends the thread; false when that never comes to its end.
bool EndsSoon(std::unique_ptr<InterruptibleThread>& thread) {
  const auto end = std::async(std::launch::async, [&] { thread.reset(); });
  return end.wait_for(kDeadline) == std::future_status::ready;
}

TEST(InterruptibleThread, RunsItsBodyUnderItsName) {
  std::array<char, 16> name{};
  {
    const InterruptibleThread thread(
        "wk-test", [&] { pthread_getname_np(pthread_self(), name.data(), name.size()); });
  }
  EXPECT_STREQ("wk-test", name.data());
}

TEST(InterruptibleThread, EndsThoughItIsBlockedInOneCallAfterTheOther) {
  constexpr int kCalls = 5;
  std::atomic<int> interrupted = 0;
  Gate started;
  auto thread = std::make_unique<InterruptibleThread>("wk-test", [&] {
    started.Open();
    started.Pass();
    while (interrupted < kCalls) {
      if (poll(nullptr, 0, -1) < 0 && errno == EINTR) ++interrupted;
    }
  });
  ASSERT_TRUE(started.WaitForVisitor());
  EXPECT_TRUE(EndsSoon(thread));
  EXPECT_EQ(kCalls, interrupted);
}

TEST(InterruptibleThread, ThatHasReturnedEndsAtOnce) {
  Gate done;
  done.Open();
  auto thread = std::make_unique<InterruptibleThread>("wk-test", [&] { done.Pass(); });
  ASSERT_TRUE(done.WaitForVisitor());
  EXPECT_TRUE(EndsSoon(thread));
}

}  // namespace
}  // namespace wkagent::test
