// The thread that runs the passes.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>

#include "support/gate.h"
#include "support/intercepted_wait.h"
#include "syslog/retry_fixture.h"
#include "support/threads.h"

namespace wkagent::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

// Longer than any wait but that for the next pass.
constexpr seconds kLongWait(60);

class SyslogRetryThread : public RetryTest {
 protected:
  // Wakes the thread until a pass of it stands at the gate.
  void StartPass() {
    handler_.setSenderCallback([this](const std::string& line) {
      thread_ = std::this_thread::get_id();
      gate_.Pass();
      return recipient_.Take(line);
    });
    ASSERT_TRUE(WakeUntil([this] { return gate_.HasVisitor(); }));
  }

  // Stops the thread and waits for its end. A wake-up that comes too early is lost.
  bool StopThread() {
    return WaitUntil([this] {
      handler_.RequestStop();
      return handler_.WaitForThread(milliseconds(10));
    });
  }

  Gate gate_;
  std::atomic<std::thread::id> thread_;
};

TEST_F(SyslogRetryThread, RunsFromConstructionToShutdown) {
  EXPECT_TRUE(handler_.retryThread.joinable());
  EXPECT_TRUE(ThreadsAre("wk-retry", 1));
  EXPECT_FALSE(handler_.WaitForThread(milliseconds(0)));
  handler_.shutdown();
  EXPECT_FALSE(handler_.retryThread.joinable());
  EXPECT_TRUE(handler_.WaitForThread(milliseconds(0)));
  EXPECT_TRUE(ThreadsAre("wk-retry", 0));
}

TEST_F(SyslogRetryThread, IsStartedOnce) {
  const std::thread::id thread = handler_.retryThread.get_id();
  handler_.startRetryThread();
  EXPECT_EQ(handler_.retryThread.get_id(), thread);
  EXPECT_TRUE(ThreadsAre("wk-retry", 1));
}

// Its lock is free only before its first wait and during a wait, but not during a pass. Without
// callback, a pass would remove the file.
TEST_F(SyslogRetryThread, WaitsBeforeItsFirstPass) {
  handler_.shutdown();
  ASSERT_TRUE(ThreadsAre("wk-retry", 0));
  PutBatchFile("nsa_batch_1", "a\n");
  WKSyslogRetryHandler other;
  ASSERT_TRUE(WaitUntil([] {
    const auto threads = Threads("wk-retry");
    return !threads.empty() && ThreadStatus(threads[0], "State").starts_with("S");
  }));
  const MutexLock lock(other.retryMutex);
  EXPECT_THAT(BatchFiles(), ElementsAre("nsa_batch_1"));
}

TEST_F(SyslogRetryThread, RunsAPassEvery300Seconds) {
  handler_.shutdown();
  std::atomic<nanoseconds> longest{};
  const InterceptedWait waits([&](nanoseconds wait) {
    longest = std::max(longest.load(), wait);
    return wait > kLongWait ? nanoseconds::zero() : wait;
  });
  WKSyslogRetryHandler other;
  for (const char* name : {"nsa_batch_1", "nsa_batch_2"}) {
    PutBatchFile(name, "a\n");
    EXPECT_TRUE(WaitUntil([] { return BatchFiles().empty(); }));
  }
  EXPECT_LE(longest.load(), seconds(300));
  EXPECT_GT(longest.load(), seconds(270));  // the machine may be slow
}

TEST_F(SyslogRetryThread, RunsAPassWhenItIsWoken) {
  PutBatchFile("nsa_batch_1", "a\nb\n");
  EXPECT_TRUE(WakeUntil([] { return BatchFiles().empty(); }));
  EXPECT_THAT(recipient_.Offered(), ElementsAre("a", "b"));
  EXPECT_EQ(handler_.RetriedCount(), 2U);
}

TEST_F(SyslogRetryThread, RunsAPassAtEachWakeUp) {
  for (const char* name : {"nsa_batch_1", "nsa_batch_2", "nsa_batch_3"}) {
    PutBatchFile(name, std::string(name) + '\n');
    EXPECT_TRUE(WakeUntil([] { return BatchFiles().empty(); }));
    EXPECT_THAT(recipient_.Offered(), ElementsAre(name));
  }
}

TEST_F(SyslogRetryThread, CallsBackHoldingItsLock) {
  PutBatchFile("nsa_batch_1", "a\n");
  StartPass();
  EXPECT_EQ(thread_.load(), handler_.retryThread.get_id());
  EXPECT_FALSE(handler_.retryMutex.try_lock());
  EXPECT_FALSE(handler_.fileMutex.try_lock());
  EXPECT_FALSE(handler_.IsInPass());  // this thread is in none
  gate_.Open();
  EXPECT_TRUE(WaitUntil([] { return BatchFiles().empty(); }));
}

TEST_F(SyslogRetryThread, GoesOnAfterAnExceptionOfTheCallback) {
  PutBatchFile("nsa_batch_1", "a\n");
  handler_.setSenderCallback([](const std::string&) -> bool { throw std::runtime_error("oh no"); });
  const std::string said = RetrySays([this] {
    EXPECT_TRUE(WakeUntil([] { return !ReadFile(kRetryLog).empty(); }));
    handler_.setSenderCallback([this](const std::string& line) { return recipient_.Take(line); });
    EXPECT_TRUE(WakeUntil([] { return BatchFiles().empty(); }));
  });
  EXPECT_TRUE(said.starts_with("Retry thread error: oh no\n")) << said;
  EXPECT_THAT(recipient_.Offered(), ElementsAre("a"));
  Save({"b"});
}

TEST_F(SyslogRetryThread, ExceptionEndsThePassAndKeepsTheFile) {
  PutBatchFile("nsa_batch_1", "a\nb\n");
  PutBatchFile("nsa_batch_2", "c\n");
  handler_.setSenderCallback([this](const std::string& line) -> bool {
    handler_.RequestStop();  // so that there is one pass only
    recipient_.Take(line);
    throw std::logic_error("no");
  });
  const std::string said = RetrySays([this] {
    EXPECT_TRUE(WakeUntil([] { return !ReadFile(kRetryLog).empty(); }));
    handler_.shutdown();
  });
  EXPECT_EQ(said, "Retry thread error: no\n");
  EXPECT_THAT(recipient_.Offered(), ElementsAre("a"));
  EXPECT_EQ(StoredText(), "a\nb\nc\n");
}

TEST_F(SyslogRetryThread, CanBeWaitedForAsLongAsItTakes) {
  std::atomic<bool> waits = false;
  const InterceptedWait waiting([&](nanoseconds wait) {
    waits = waits || wait > std::chrono::hours(24);
    return wait;
  });
  auto ended = std::async(std::launch::async,
                          [this] { return handler_.WaitForThread(milliseconds::max()); });
  EXPECT_TRUE(WaitUntil([&] { return waits.load(); }));
  EXPECT_FALSE(handler_.WaitForThread(milliseconds::min()));
  handler_.shutdown();
  EXPECT_TRUE(ended.get());
}

TEST_F(SyslogRetryThread, StopsAfterTheLineThatItIsSending) {
  PutBatchFile("nsa_batch_1", "a\nb\nc\n");
  PutBatchFile("nsa_batch_2", "d\n");
  StartPass();
  handler_.RequestStop();
  EXPECT_FALSE(handler_.WaitForThread(milliseconds(0)));
  EXPECT_EQ(RetrySays([this] {
              gate_.Open();
              handler_.shutdown();
            }),
            "");
  EXPECT_THAT(recipient_.Offered(), ElementsAre("a"));
  EXPECT_EQ(StoredText(), "a\nb\nc\nd\n");
}

TEST_F(SyslogRetryThread, StopAfterTheLastLineOfAFileStillRemovesIt) {
  PutBatchFile("nsa_batch_1", "a\n");
  PutBatchFile("nsa_batch_2", "b\n");
  StartPass();
  handler_.RequestStop();
  gate_.Open();
  handler_.shutdown();
  EXPECT_THAT(recipient_.Offered(), ElementsAre("a"));
  EXPECT_THAT(BatchFiles(), ElementsAre("nsa_batch_2"));
}

TEST_F(SyslogRetryThread, StopEndsTheThreadOnly) {
  PutBatchFile("nsa_batch_1", "a\nb\n");
  EXPECT_TRUE(StopThread());
  EXPECT_TRUE(handler_.stopRequested);
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b"));
}

TEST_F(SyslogRetryThread, ShutdownMayBeCalledAgain) {
  Save({"a"});
  handler_.shutdown();
  handler_.shutdown();
  EXPECT_TRUE(StopThread());
  handler_.shutdown();
  EXPECT_EQ(StoredText(), "a\n");
}

TEST_F(SyslogRetryThread, ShutdownDoesNotRunAPass) {
  PutBatchFile("nsa_batch_1", "a\n");
  handler_.shutdown();
  EXPECT_THAT(recipient_.Offered(), IsEmpty());
}

TEST_F(SyslogRetryThread, DestructorShutsDown) {
  {
    WKSyslogRetryHandler other;
    EXPECT_TRUE(other.saveToBatchFile("a"));
    EXPECT_TRUE(ThreadsAre("wk-retry", 2));
  }
  EXPECT_TRUE(ThreadsAre("wk-retry", 1));
  EXPECT_THAT(PassOffers(), ElementsAre("a"));
}

TEST_F(SyslogRetryThread, CanBeShutDownAtOnce) {
  handler_.shutdown();
  for (int i = 0; i < 200; ++i) WKSyslogRetryHandler();
  EXPECT_TRUE(ThreadsAre("wk-retry", 0));
}

// It has seen no stop yet, and would not hear the wake-up.
TEST_F(SyslogRetryThread, CanBeShutDownWhenItIsAboutToWait) {
  handler_.shutdown();
  const InterceptedWait waits([this](nanoseconds wait) {
    if (wait > kLongWait) gate_.Pass();
    return wait;
  });
  WKSyslogRetryHandler other;
  ASSERT_TRUE(gate_.WaitForVisitor());
  std::thread end([&] { other.shutdown(); });
  EXPECT_TRUE(WaitUntil([&] { return other.stopRequested.load(); }));
  gate_.Open();
  end.join();
  EXPECT_FALSE(other.retryThread.joinable());
}

TEST_F(SyslogRetryThread, TakesNoSignalsOfTheHost) {
  ASSERT_TRUE(ThreadsAre("wk-retry", 1));
  EXPECT_TRUE(WaitUntil([] { return BlocksAllSignals(Threads("wk-retry")[0]); }));
}

}  // namespace
}  // namespace wkagent::test
