// The end of a sender.

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/gate.h"
#include "support/intercepted_send.h"
#include "support/intercepted_wait.h"
#include "support/open_files.h"
#include "syslog/sender_fixture.h"
#include "support/threads.h"

namespace wkagent::test {
namespace {

using std::chrono::nanoseconds;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

class SyslogStop : public SenderTest {
 protected:
  static constexpr int kSmallBuffer = 4096;

  // Ends the sender on another thread, while its worker is held up. It has begun to when this
  // returns.
  std::thread EndBegins() {
    std::atomic<bool>& running = sender_->running;
    std::thread end([this] { sender_.reset(); });
    EXPECT_TRUE(WaitUntil([&] { return !running; }));
    return end;
  }

  InterceptedSend::Answer PassGate() {
    return [this](const InterceptedSend::Call& call) {
      gate_.Pass();
      return InterceptedSend::System(call);
    };
  }

  // More than the system takes for a collector that does not read.
  static std::vector<std::string> TooMuch() {
    return std::vector<std::string>(20, std::string(1000000, 'x'));
  }

  // False while somebody, such as the worker that connects, holds the pool.
  static bool PoolIsFree(WKSyslogSender& sender) {
    const std::unique_lock<std::mutex> lock(sender.poolMutex, std::try_to_lock);
    return lock.owns_lock();
  }

  Gate gate_;
};

TEST_F(SyslogStop, DropsWhatIsQueuedBehindTheBatchInHand) {
  const InterceptedSend sends(PassGate());
  StartTcp();
  Send({"in hand"});
  ASSERT_TRUE(gate_.WaitForVisitor());
  QueueTogether(Numbered("line", 500));
  std::thread end = EndBegins();
  gate_.Open();
  end.join();
  EXPECT_THAT(sends.Texts(), ElementsAre("in hand\n"));
  EXPECT_THAT(StoredText(), AnyOf("", "in hand\n"));  // where the machine is slow
}

// Whether the worker takes one more batch depends on whether it is waiting or just about to wait.
TEST_F(SyslogStop, SendsAtMostOneMoreBatch) {
  for (int i = 0; i < 20; ++i) {
    const InterceptedSend sends;
    StartTcp();
    WKSyslogSender& sender = *sender_;
    std::thread end;
    {
      const MutexLock lock(sender.queueMutex);
      sender.messageQueue.assign(500, "line");
      end = std::thread([this] { sender_.reset(); });
      sender.running = false;
    }
    end.join();
    const std::vector<std::string> batch(100, "line");
    EXPECT_THAT(sends.Texts(), AnyOf(IsEmpty(), ElementsAre(Text(batch))));
  }
}

TEST_F(SyslogStop, StoresTheBatchInHandWithoutConnection) {
  collector_.Refuse();
  StartTcp();
  (void)Complaints([this] {
    std::thread end;
    {
      const MutexLock lock(sender_->poolMutex);  // so that the worker waits to connect
      Send({"in hand"});
      ASSERT_TRUE(WaitUntil([this] { return QueueSize() == 0; }));
      QueueTogether(Numbered("line", 500));
      end = EndBegins();
    }
    end.join();
  });
  EXPECT_EQ(StoredText(), "in hand\n");
}

TEST_F(SyslogStop, EndsThreadsAndConnections) {
  StartTcp();
  SendAndWait({"line"});
  EXPECT_TRUE(SenderEndsSoon());
  EXPECT_TRUE(NoSyslogThreadIsLeft());
  EXPECT_EQ(collector_.Accept().ReadToEnd(), "line\n");
}

TEST_F(SyslogStop, LeavesNothingOpen) {
  StartTcp();
  sender_.reset();
  const long files = OpenFiles();
  StartTcp();
  SendAndWait({"line"});
  (void)Complaints([this] { sender_->sendBatch(sender_->getConnection(), {}); });
  EXPECT_TRUE(sender_->retryHandler.saveToBatchFile("line"));
  EXPECT_TRUE(SenderEndsSoon());
  EXPECT_EQ(OpenFiles(), files);
}

TEST_F(SyslogStop, IsNotHeldUpByACollectorThatNeverReads) {
  Collector deaf(kSmallBuffer);
  Start("TCP", deaf.Port());
  Gate written;
  const InterceptedSend sends([&](const InterceptedSend::Call& call) {
    written.Open();
    written.Pass();
    return InterceptedSend::System(call);
  });
  QueueTogether(TooMuch());
  ASSERT_TRUE(written.WaitForVisitor());
  EXPECT_THAT(SenderSays([this] { EXPECT_TRUE(SenderEndsSoon()); }),
              testing::StartsWith("Batch send failed (TCP): "));
  EXPECT_TRUE(StoredText() == Text(TooMuch()));
}

TEST_F(SyslogStop, IsNotHeldUpByAResendToACollectorThatNeverReads) {
  Collector deaf(kSmallBuffer);
  Start("TCP", deaf.Port());
  PutBatchFile("nsa_batch_1", std::string(20000000, 'x') + '\n');
  (void)Complaints([this] {
    EXPECT_TRUE(WaitUntil([this] {
      sender_->retryHandler.retryCondition.notify_all();
      return Counters().connectionsOpened == 1;
    }));
    EXPECT_TRUE(SenderEndsSoon());
  });
  EXPECT_THAT(BatchFiles(), ElementsAre("nsa_batch_1"));
}

TEST_F(SyslogStop, IsNotHeldUpByAPortThatNeverAnswers) {
  const DeafPort port;
  Start("TCP", port.Port());
  Send({"line"});
  ASSERT_TRUE(WaitUntil([this] { return !PoolIsFree(*sender_); }));
  EXPECT_THAT(SenderSays([this] { EXPECT_TRUE(SenderEndsSoon()); }),
              testing::StartsWith("Connect failed: "));
  EXPECT_EQ(StoredText(), "line\n");
}

TEST_F(SyslogStop, IsNotHeldUpByAHandshakeThatIsNeverAnswered) {
  Start("TLS", collector_.Port());
  Send({"line"});
  CollectorEnd end = collector_.Accept();
  EXPECT_EQ(end.Read(1), "\x16");  // a handshake record
  EXPECT_THAT(SenderSays([this] { EXPECT_TRUE(SenderEndsSoon()); }),
              testing::StartsWith("SSL_connect failed: SSL_get_error="));
  EXPECT_EQ(StoredText(), "line\n");
}

// It would not hear the first wake-up.
TEST_F(SyslogStop, IsNotHeldUpByARetryThreadThatIsAboutToWait) {
  const InterceptedWait waits([this](nanoseconds wait) {
    if (wait > std::chrono::minutes(1)) gate_.Pass();
    return wait;
  });
  StartTcp();
  ASSERT_TRUE(gate_.WaitForVisitor());
  std::thread end = EndBegins();
  gate_.Open();
  end.join();
  EXPECT_TRUE(NoSyslogThreadIsLeft());
}

TEST_F(SyslogStop, MayFollowAtOnceOverUdp) {
  WriteSettings("");
  for (int i = 0; i < 200; ++i) WKSyslogSender();
  EXPECT_TRUE(NoSyslogThreadIsLeft());
}

TEST_F(SyslogStop, MayFollowAtOnceOverTcp) {
  for (int i = 0; i < 200; ++i) StartTcp();
  EXPECT_TRUE(SenderEndsSoon());
  EXPECT_TRUE(NoSyslogThreadIsLeft());
  EXPECT_FALSE(collector_.HasVisitor());
}

TEST_F(SyslogStop, MayFollowTheFirstLineAtOnce) {
  for (int i = 0; i < 50; ++i) {
    StartTcp();
    Send({"line"});
  }
  EXPECT_TRUE(SenderEndsSoon());
  EXPECT_TRUE(NoSyslogThreadIsLeft());
}

}  // namespace
}  // namespace wkagent::test
