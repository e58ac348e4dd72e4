#include "core/broken_pipe.h"

#include <cerrno>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>

#include "support/signals.h"
#include "support/threads.h"

namespace wkagent::test {
namespace {

TEST(BrokenPipeGuard, BlocksTheSignalWhileItExists) {
  {
    const BrokenPipeGuard guard;
    EXPECT_TRUE(BrokenPipeIsBlocked());
  }
  EXPECT_FALSE(BrokenPipeIsBlocked());
}

TEST(BrokenPipeGuard, TakesAwayWhatWasRaisedMeanwhile) {
  {
    const BrokenPipeGuard guard;
    raise(SIGPIPE);
    EXPECT_TRUE(BrokenPipeIsPending());
  }
  EXPECT_FALSE(BrokenPipeIsPending());
}

TEST(BrokenPipeGuard, LeavesOtherSignalsAlone) {
  sigset_t before;
  sigset_t within;
  pthread_sigmask(SIG_BLOCK, nullptr, &before);
  const BrokenPipeGuard guard;
  pthread_sigmask(SIG_BLOCK, nullptr, &within);
  sigdelset(&within, SIGPIPE);
  for (int signal = 1; signal < SIGRTMAX; ++signal) {
    EXPECT_EQ(sigismember(&within, signal), sigismember(&before, signal)) << signal;
  }
}

TEST(BrokenPipeGuard, LeavesASignalBlockedThatWas) {
  const BlockedBrokenPipe blocked;
  {
    const BrokenPipeGuard guard;
    raise(SIGPIPE);
  }
  EXPECT_TRUE(BrokenPipeIsBlocked());
  EXPECT_FALSE(BrokenPipeIsPending());
}

TEST(BrokenPipeGuard, LeavesASignalPendingThatWas) {
  const BlockedBrokenPipe blocked;
  raise(SIGPIPE);
  {
    const BrokenPipeGuard guard;
    raise(SIGPIPE);
  }
  EXPECT_TRUE(BrokenPipeIsPending());
}

TEST(BrokenPipeGuard, KeepsTheErrorNumber) {
  {
    const BrokenPipeGuard guard;
    errno = ECONNRESET;
  }
  EXPECT_EQ(errno, ECONNRESET);
}

TEST(BrokenPipeGuard, MayBeNested) {
  {
    const BrokenPipeGuard outer;
    { const BrokenPipeGuard inner; }
    EXPECT_TRUE(BrokenPipeIsBlocked());
    raise(SIGPIPE);
  }
  EXPECT_FALSE(BrokenPipeIsBlocked());
  EXPECT_FALSE(BrokenPipeIsPending());
}

TEST(BrokenPipeGuard, ConcernsItsThreadOnly) {
  const BrokenPipeGuard guard;
  std::thread([] {
    EXPECT_TRUE(BrokenPipeIsBlocked());  // by inheritance
    const sigset_t signals = OnlyBrokenPipe();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    { const BrokenPipeGuard another; }
    EXPECT_FALSE(BrokenPipeIsBlocked());
  }).join();
  EXPECT_TRUE(BrokenPipeIsBlocked());
}

TEST(BrokenPipeGuard, LeavesAThreadThatBlocksAllSignalsAsItIs) {
  std::thread([] {
    BlockSignalsInThisThread();
    EXPECT_TRUE(BlocksAllSignals("/proc/thread-self"));
    {
      const BrokenPipeGuard guard;
      raise(SIGPIPE);
    }
    EXPECT_TRUE(BlocksAllSignals("/proc/thread-self"));
  }).join();
  EXPECT_FALSE(BrokenPipeIsBlocked());
}

}  // namespace
}  // namespace wkagent::test
