// What becomes of lines that cannot be written.

#include <cerrno>
#include <string>

#include <fcntl.h>

#include "support/intercepted_send.h"
#include "syslog/sender_fixture.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char kReset[] = "Batch send failed (TCP): Connection reset by peer\n";

class SyslogWriteFailure : public SenderTest {
 protected:
  SyslogWriteFailure() { StartTcp(); }
};

TEST_F(SyslogWriteFailure, IsReportedAndTheBatchStored) {
  const InterceptedSend sends(InterceptedSend::FailingWith(ECONNRESET));
  EXPECT_EQ(SenderSays([this] {
              QueueTogether(Numbered("line", 100));
              EXPECT_TRUE(QueueEmpties());
            }),
            kReset);
  EXPECT_EQ(StoredText(), Text(Numbered("line", 100)));
  EXPECT_THAT(sends.Calls(), SizeIs(1));
}

TEST_F(SyslogWriteFailure, OfNoBytesIsOneToo) {
  const InterceptedSend sends(InterceptedSend::FailingWith(ECONNRESET, 0));
  EXPECT_EQ(SenderSays([this] { SendAndWait({"line"}); }), kReset);
  EXPECT_EQ(StoredText(), "line\n");
}

TEST_F(SyslogWriteFailure, ClosesTheConnection) {
  const InterceptedSend sends(InterceptedSend::FailingWith(ECONNRESET));
  (void)SenderSays([this] { SendAndWait({"line"}); });
  EXPECT_THAT(Pool(), IsEmpty());
  EXPECT_EQ(collector_.Accept().ReadToEnd(), "");
}

TEST_F(SyslogWriteFailure, LetsTheNextBatchOpenAConnection) {
  {
    const InterceptedSend sends(InterceptedSend::FailingWith(ECONNRESET));
    (void)SenderSays([this] { SendAndWait({"stored"}); });
  }
  SendAndWait({"sent"});
  (void)collector_.Accept();
  EXPECT_THAT(collector_.Accept().ReadLines(1), ElementsAre("sent"));
  EXPECT_EQ(Counters().connectionsOpened, 2U);
  EXPECT_EQ(StoredText(), "stored\n");
}

TEST_F(SyslogWriteFailure, OfEachBatchIsReported) {
  const InterceptedSend sends(InterceptedSend::FailingWith(EPIPE));
  EXPECT_EQ(SenderSays([this] {
              QueueTogether(Numbered("line", 250));
              EXPECT_TRUE(QueueEmpties());
            }),
            "Batch send failed (TCP): Broken pipe\nBatch send failed (TCP): Broken pipe\n"
            "Batch send failed (TCP): Broken pipe\n");
  EXPECT_EQ(StoredText(), Text(Numbered("line", 250)));
  EXPECT_EQ(Counters().connectionsOpened, 3U);
}

TEST_F(SyslogWriteFailure, IsASuccessForSendTcpAsTheLineIsStored) {
  const InterceptedSend sends(InterceptedSend::FailingWith(ECONNRESET));
  EXPECT_EQ(SenderSays([this] { EXPECT_TRUE(sender_->sendTCP("line")); }), kReset);
  EXPECT_EQ(StoredText(), "line\n");
  EXPECT_THAT(Pool(), IsEmpty());
}

TEST_F(SyslogWriteFailure, OfSendBatchIsTheSame) {
  const InterceptedSend sends(InterceptedSend::FailingWith(ECONNRESET));
  Connection* const connection = sender_->getConnection();
  EXPECT_EQ(SenderSays([&] { sender_->sendBatch(connection, {"a", "b"}); }), kReset);
  EXPECT_EQ(StoredText(), "a\nb\n");
  EXPECT_THAT(Pool(), IsEmpty());
  sender_->releaseConnection(connection);
  EXPECT_EQ(collector_.Accept().ReadToEnd(), "");
}

TEST_F(SyslogWriteFailure, LeavesTheHolderOfABrokenConnectionOnIt) {
  const InterceptedSend sends(InterceptedSend::FailingWith(ECONNRESET));
  Connection* const one = sender_->getConnection();
  Connection* const same = sender_->getConnection();
  EXPECT_EQ(one, same);
  const int socket = one->socketFd;
  EXPECT_EQ(SenderSays([&] {
              sender_->sendBatch(one, {"a"});
              sender_->releaseConnection(one);
              sender_->sendBatch(same, {"b"});
              sender_->releaseConnection(same);
            }),
            std::string(kReset) + kReset);
  EXPECT_EQ(StoredText(), "a\nb\n");
  EXPECT_LT(fcntl(socket, F_GETFD), 0);
}

TEST_F(SyslogWriteFailure, EmptyBatchIsAFailureWithNothingToStore) {
  Connection* const connection = sender_->getConnection();
  EXPECT_THAT(SenderSays([&] { sender_->sendBatch(connection, {}); }),
              testing::StartsWith("Batch send failed (TCP): "));
  sender_->releaseConnection(connection);
  EXPECT_THAT(BatchFiles(), IsEmpty());
  EXPECT_EQ(Counters().sent, 0U);
}

TEST_F(SyslogWriteFailure, ShortWriteIsASuccessAndNotContinued) {
  const InterceptedSend sends(InterceptedSend::TakingAtMost(3));
  EXPECT_EQ(SenderSays([this] { SendAndWait({"long line"}); }), "");
  EXPECT_THAT(sends.Texts(), ElementsAre("long line\n"));
  EXPECT_EQ(Counters().sent, 1U);
  EXPECT_EQ(StoredText(), "");
  sender_.reset();
  EXPECT_EQ(collector_.Accept().ReadToEnd(), "lon");
}

TEST_F(SyslogWriteFailure, WithoutConnectionTheBatchIsStoredInOrder) {
  collector_.Refuse();
  EXPECT_EQ(SenderSays([this] {
              QueueTogether(Numbered("line", 150));
              EXPECT_TRUE(QueueEmpties());
            }),
            "Connect failed: Connection refused\nConnect failed: Connection refused\n");
  EXPECT_EQ(StoredText(), Text(Numbered("line", 150)));
  EXPECT_EQ(Counters().connectionsOpened, 0U);
}

TEST_F(SyslogWriteFailure, SendReturnsTrueWithoutConnection) {
  collector_.Refuse();
  (void)SenderSays([this] { SendAndWait({"line"}); });
  EXPECT_EQ(StoredText(), "line\n");
}

TEST_F(SyslogWriteFailure, LinesThatCannotBeStoredEitherAreDropped) {
  collector_.Refuse();
  BlockStore();
  (void)Complaints([this] { SendAndWait({"a", "b"}); });
  EXPECT_EQ(Counters().dropped, 2U);
  EXPECT_EQ(Counters().stored, 0U);
  UnblockStore();
  (void)Complaints([this] { SendAndWait({"c"}); });
  EXPECT_EQ(StoredText(), "c\n");
}

}  // namespace
}  // namespace wkagent::test
