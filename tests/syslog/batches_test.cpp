// How the worker takes lines from the queue and writes them.

#include <chrono>
#include <string>
#include <vector>

#include "support/intercepted_send.h"
#include "support/intercepted_wait.h"
#include "syslog/sender_fixture.h"
#include "support/threads.h"

namespace wkagent::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

static_assert(WKSyslogSender::BATCH_SIZE == 100);
static_assert(WKSyslogSender::QUEUE_WAIT == 100);

class SyslogBatches : public SenderTest {
 protected:
  SyslogBatches() { StartTcp(); }

  // The lines number `first` to `last` of Numbered as they go over a connection.
  static std::string Wire(int first, int last) {
    const std::vector<std::string> lines = Numbered("line", last);
    return Text({lines.begin() + first - 1, lines.end()});
  }
};

TEST_F(SyslogBatches, HoldUpToAHundredLinesEachInOneWrite) {
  const InterceptedSend sends;
  QueueTogether(Numbered("line", 250));
  ASSERT_TRUE(QueueEmpties());
  EXPECT_THAT(sends.Texts(), ElementsAre(Wire(1, 100), Wire(101, 200), Wire(201, 250)));
  EXPECT_THAT(sends.Calls(), Each(Field(&InterceptedSend::Call::flags, 0)));
  EXPECT_EQ(collector_.Accept().Read(Wire(1, 250).size()), Wire(1, 250));
}

TEST_F(SyslogBatches, OfAHundredLinesAreOneWrite) {
  const InterceptedSend sends;
  QueueTogether(Numbered("line", 100));
  ASSERT_TRUE(QueueEmpties());
  EXPECT_THAT(sends.Texts(), ElementsAre(Wire(1, 100)));
}

TEST_F(SyslogBatches, OfOneLineMoreAreTwoWrites) {
  const InterceptedSend sends;
  QueueTogether(Numbered("line", 101));
  ASSERT_TRUE(QueueEmpties());
  EXPECT_THAT(sends.Texts(), ElementsAre(Wire(1, 100), Wire(101, 101)));
}

TEST_F(SyslogBatches, UseOneConnection) {
  for (int i = 0; i < 5; ++i) SendAndWait({"line"});
  EXPECT_THAT(collector_.Accept().ReadLines(5), Each("line"));
  EXPECT_FALSE(collector_.HasVisitor());
  EXPECT_EQ(Counters().connectionsOpened, 1U);
}

TEST_F(SyslogBatches, KeepTheOrderOfTheCalls) {
  Send(Numbered("line", 1000));
  EXPECT_EQ(collector_.Accept().Read(Wire(1, 1000).size()), Wire(1, 1000));
}

TEST_F(SyslogBatches, SendLinesAsTheyAre) {
  const std::vector<std::string> lines = {"", " ", "<13>1 \xff", std::string("a\0b", 3), "\r"};
  SendAndWait(lines);
  EXPECT_EQ(collector_.Accept().Read(Text(lines).size()), Text(lines));
}

TEST_F(SyslogBatches, MakeTwoRecordsOfALineWithALineFeed) {
  Send({"one\ntwo", "three"});
  EXPECT_THAT(collector_.Accept().ReadLines(3), ElementsAre("one", "two", "three"));
}

TEST_F(SyslogBatches, CarryLongLines) {
  const std::string line(1000000, 'x');
  Send({line, "end"});
  EXPECT_TRUE(collector_.Accept().Read(line.size() + 5) == line + "\nend\n");
}

TEST_F(SyslogBatches, TakeLinesOfSeveralThreadsWhole) {
  const std::vector<std::string> lines =
      FromThreads([this](const std::string& line) { EXPECT_TRUE(sender_->send(line)); });
  EXPECT_THAT(collector_.Accept().ReadLines(lines.size()),
              testing::UnorderedElementsAreArray(lines));
}

TEST_F(SyslogBatches, AreMadeAfterSendHasReturned) {
  {
    const MutexLock lock(sender_->poolMutex);  // so that the worker gets no connection
    Send({"a", "b"});
    EXPECT_FALSE(collector_.HasVisitor());
    EXPECT_FALSE(sender_->WaitUntilEmpty(std::chrono::milliseconds(0)));
  }
  EXPECT_THAT(collector_.Accept().ReadLines(2), ElementsAre("a", "b"));
}

// The worker would not look into the queue by itself before the test has failed.
TEST_F(SyslogBatches, AreMadeAsSoonAsThereIsALine) {
  sender_.reset();
  const InterceptedWait waits([](std::chrono::nanoseconds wait) {
    return wait > std::chrono::milliseconds(WKSyslogSender::QUEUE_WAIT) ? wait : 10 * kDeadline;
  });
  StartTcp();
  for (int i = 0; i < 3; ++i) {
    Send({"line"});
    EXPECT_TRUE(WaitUntil([&] { return Counters().sent == static_cast<unsigned>(i) + 1; }));
  }
}

TEST_F(SyslogBatches, WaitInAQueueWithoutLimit) {
  const MutexLock pool(sender_->poolMutex);
  for (int i = 0; i < 100200; ++i) ASSERT_TRUE(sender_->send("line"));
  const MutexLock queue(sender_->queueMutex);
  EXPECT_GE(sender_->messageQueue.size(), 100100U);  // without the batch in hand
  EXPECT_THAT(BatchFiles(), IsEmpty());
}

TEST_F(SyslogBatches, GoOverTcpAlsoForAProtocolThatIsNone) {
  sender_->protocol = static_cast<SyslogProtocol>(7);
  SendAndWait({"line"});
  EXPECT_THAT(collector_.Accept().ReadLines(1), ElementsAre("line"));
}

TEST_F(SyslogBatches, AreTheWorkOfOneThreadThatTakesNoSignals) {
  ASSERT_TRUE(ThreadsAre("wk-syslog", 1));
  EXPECT_TRUE(WaitUntil([] { return BlocksAllSignals(Threads("wk-syslog")[0]); }));
}

TEST_F(SyslogBatches, SingleLineOfSendTcpIsABatch) {
  const InterceptedSend sends;
  EXPECT_TRUE(sender_->sendTCP("a"));
  EXPECT_TRUE(sender_->sendTLS("b"));  // the transport follows the protocol
  EXPECT_THAT(sends.Texts(), ElementsAre("a\n", "b\n"));
  EXPECT_THAT(collector_.Accept().ReadLines(2), ElementsAre("a", "b"));
}

TEST_F(SyslogBatches, OfTheHostAreWrittenAsTheyAre) {
  const InterceptedSend sends;
  Connection* const connection = sender_->getConnection();
  sender_->sendBatch(connection, Numbered("line", 150));
  sender_->releaseConnection(connection);
  EXPECT_THAT(sends.Texts(), ElementsAre(Wire(1, 150)));
}

}  // namespace
}  // namespace wkagent::test
