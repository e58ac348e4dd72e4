// What a sender tells about its lines.

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <future>
#include <string>
#include <thread>
#include <utility>

#include "support/gate.h"
#include "support/intercepted_send.h"
#include "support/intercepted_wait.h"
#include "syslog/sender_fixture.h"

namespace wkagent::test {
namespace {

using Clock = std::chrono::system_clock;
using std::chrono::milliseconds;

// The counters in the order of their declaration.
std::string Shown(const WKSyslogSender::Counters& counters) {
  std::string text;
  for (const std::uint64_t count :
       {counters.queued, counters.sent, counters.stored, counters.retried, counters.dropped,
        counters.connectionsOpened}) {
    text += std::to_string(count) + ' ';
  }
  return text;
}

class SyslogCounters : public SenderTest {
 protected:
  [[nodiscard]] std::string Count() const { return Shown(Counters()); }
};

TEST_F(SyslogCounters, BeginAtZero) {
  StartTcp();
  EXPECT_EQ(Count(), "0 0 0 0 0 0 ");
  EXPECT_EQ(sender_->LastSuccess(), Clock::time_point());
}

TEST_F(SyslogCounters, OfLinesThatAreSent) {
  StartTcp();
  SendAndWait(Numbered("line", 250));
  EXPECT_EQ(Count(), "250 250 0 0 0 1 ");
}

TEST_F(SyslogCounters, OfALineThatIsBeingWritten) {
  Gate gate;
  const InterceptedSend sends([&](const InterceptedSend::Call& call) {
    gate.Pass();
    return InterceptedSend::System(call);
  });
  StartTcp();
  Send({"line"});
  ASSERT_TRUE(gate.WaitForVisitor());
  EXPECT_EQ(Count(), "1 0 0 0 0 1 ");
  EXPECT_FALSE(sender_->WaitUntilEmpty(milliseconds(1)));
  gate.Open();
  EXPECT_TRUE(QueueEmpties());
  EXPECT_EQ(Count(), "1 1 0 0 0 1 ");
}

TEST_F(SyslogCounters, OfLinesThatAreStored) {
  collector_.Refuse();
  StartTcp();
  (void)SenderSays([this] { SendAndWait(Numbered("line", 3)); });
  EXPECT_EQ(Count(), "3 0 3 0 0 0 ");
  EXPECT_EQ(sender_->LastSuccess(), Clock::time_point());
}

TEST_F(SyslogCounters, OfLinesThatAreDropped) {
  collector_.Refuse();
  BlockStore();
  StartTcp();
  (void)Complaints([this] { SendAndWait(Numbered("line", 3)); });
  EXPECT_EQ(Count(), "3 0 0 0 3 0 ");
}

TEST_F(SyslogCounters, OfLinesThatAreSentAgain) {
  StartTcp();
  PutBatchFile("nsa_batch_1", "a\nb\n");
  sender_->retryHandler.retryPendingFiles();
  EXPECT_EQ(Count(), "0 0 0 2 0 1 ");
}

TEST_F(SyslogCounters, OfLinesOverUdp) {
  DatagramCollector datagrams;
  Start("UDP", datagrams.Port());
  Send({"a", "b"});
  (void)SenderSays([this] { EXPECT_FALSE(sender_->send(std::string(70000, 'x'))); });
  EXPECT_EQ(Count(), "0 2 0 0 1 0 ");
}

TEST_F(SyslogCounters, OfEverySender) {
  StartTcp();
  SendAndWait({"line"});
  const WKSyslogSender other;
  EXPECT_EQ(Shown(other.GetCounters()), "0 0 0 0 0 0 ");
}

TEST_F(SyslogCounters, MayBeReadWhileLinesAreSent) {
  StartTcp();
  std::thread host([this] { Send(Numbered("line", 2000)); });
  std::uint64_t sent = 0;
  EXPECT_TRUE(WaitUntil([&] {
    const std::uint64_t before = std::exchange(sent, Counters().sent);
    EXPECT_GE(sent, before);
    (void)sender_->LastSuccess();
    return sent == 2000;
  }));
  host.join();
}

TEST_F(SyslogCounters, LastSuccessIsWhenTheSystemTookALine) {
  StartTcp();
  const Clock::time_point begin = Clock::now();
  SendAndWait({"line"});
  const Clock::time_point first = sender_->LastSuccess();
  EXPECT_GE(first, begin);
  EXPECT_LE(first, Clock::now());
  SendAndWait({"line"});
  EXPECT_GT(sender_->LastSuccess(), first);
}

TEST_F(SyslogCounters, LastSuccessIsNotChangedByAFailure) {
  StartTcp();
  SendAndWait({"line"});
  const Clock::time_point success = sender_->LastSuccess();
  const InterceptedSend sends(InterceptedSend::FailingWith(ECONNRESET));
  (void)SenderSays([this] { SendAndWait({"line"}); });
  EXPECT_EQ(sender_->LastSuccess(), success);
}

TEST_F(SyslogCounters, LastSuccessOverUdp) {
  DatagramCollector datagrams;
  Start("UDP", datagrams.Port());
  Send({"line"});
  EXPECT_GT(sender_->LastSuccess(), Clock::time_point());
}

TEST_F(SyslogCounters, NothingQueuedIsEmptyAtOnce) {
  StartTcp();
  EXPECT_TRUE(sender_->WaitUntilEmpty(milliseconds(0)));
}

TEST_F(SyslogCounters, LongestWaitThereIsLastsUntilTheQueueIsEmpty) {
  StartTcp();
  std::atomic<bool> waits = false;
  const InterceptedWait waiting([&](std::chrono::nanoseconds wait) {
    waits = waits || wait > std::chrono::hours(24);
    return wait;
  });
  std::future<bool> empty;
  {
    const MutexLock lock(sender_->poolMutex);  // so that the worker gets no connection
    Send({"line"});
    empty = std::async(std::launch::async,
                       [this] { return sender_->WaitUntilEmpty(milliseconds::max()); });
    EXPECT_TRUE(WaitUntil([&] { return waits.load(); }));
    EXPECT_FALSE(sender_->WaitUntilEmpty(milliseconds::min()));
  }
  EXPECT_TRUE(empty.get());
}

TEST_F(SyslogCounters, WaitEndsWhenItsTimeHasPassed) {
  StartTcp();
  const MutexLock lock(sender_->poolMutex);  // so that the worker gets no connection
  Send({"line"});
  EXPECT_FALSE(sender_->WaitUntilEmpty(milliseconds(20)));
}

}  // namespace
}  // namespace wkagent::test
