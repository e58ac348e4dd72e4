// Stored lines that a sender sends again.

#include <atomic>
#include <cerrno>
#include <string>

#include "support/gate.h"
#include "support/intercepted_send.h"
#include "syslog/sender_fixture.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kFile[] = "nsa_batch_1";
constexpr char kRefused[] = "Retry failed for file: /opt/mossgrove/auditdata/nsa/nsa_batch_1\n";
constexpr char kReset[] = "Batch send failed (TCP): Connection reset by peer\n";

class SyslogResend : public SenderTest {
 protected:
  SyslogResend() { StartTcp(); }

  void Pass() { sender_->retryHandler.retryPendingFiles(); }

  std::string PassSays() {
    return Complaints([this] { Pass(); });
  }

  // Wakes the retry thread again and again until the condition is true.
  template <typename Condition>
  [[nodiscard]] bool WakeUntil(Condition condition) {
    return WaitUntil([&] {
      sender_->retryHandler.retryCondition.notify_all();
      return condition();
    });
  }
};

TEST_F(SyslogResend, SendsEachLineInOneWrite) {
  PutBatchFile(kFile, "a\n\nb\n");
  const InterceptedSend sends;
  EXPECT_EQ(PassSays(), "");
  EXPECT_THAT(sends.Texts(), ElementsAre("a\n", "b\n"));
  EXPECT_THAT(collector_.Accept().ReadLines(2), ElementsAre("a", "b"));
  EXPECT_THAT(BatchFiles(), IsEmpty());
}

TEST_F(SyslogResend, CountsItsLinesApart) {
  PutBatchFile(kFile, "a\nb\n");
  Pass();
  EXPECT_EQ(Counters().retried, 2U);
  EXPECT_EQ(Counters().sent, 0U);
  EXPECT_EQ(Counters().connectionsOpened, 1U);
}

TEST_F(SyslogResend, UsesTheWorkersConnection) {
  SendAndWait({"first"});
  PutBatchFile(kFile, "again\n");
  Pass();
  EXPECT_THAT(collector_.Accept().ReadLines(2), ElementsAre("first", "again"));
  EXPECT_FALSE(collector_.HasVisitor());
}

TEST_F(SyslogResend, WithoutConnectionKeepsTheFile) {
  collector_.Refuse();
  PutBatchFile(kFile, "a\nb\n");
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(PassSays(), std::string("Connect failed: Connection refused\n") + kRefused);
    EXPECT_THAT(BatchFiles(), ElementsAre(kFile));
    EXPECT_EQ(StoredText(), "a\nb\n");
  }
  EXPECT_EQ(Counters().stored, 0U);
}

TEST_F(SyslogResend, ThatCannotBeWrittenKeepsTheFileAndStoresNothing) {
  PutBatchFile(kFile, "a\nb\n");
  const InterceptedSend sends(InterceptedSend::FailingWith(ECONNRESET));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(PassSays(), std::string(kReset) + kRefused);
    EXPECT_THAT(BatchFiles(), ElementsAre(kFile));
    EXPECT_EQ(StoredText(), "a\nb\n");
    EXPECT_THAT(Pool(), IsEmpty());
  }
  EXPECT_EQ(Counters().stored, 0U);
  EXPECT_EQ(Counters().retried, 0U);
}

TEST_F(SyslogResend, ThatFailsPartWaySendsTheFileAgain) {
  PutBatchFile(kFile, "a\nb\nc\n");
  {
    const InterceptedSend sends([](const InterceptedSend::Call& call) {
      errno = ECONNRESET;
      return call.text == "b\n" ? -1 : InterceptedSend::System(call);
    });
    EXPECT_EQ(PassSays(), std::string(kReset) + kRefused);
  }
  EXPECT_EQ(PassSays(), "");
  EXPECT_EQ(collector_.Accept().ReadToEnd(), "a\n");
  EXPECT_THAT(collector_.Accept().ReadLines(3), ElementsAre("a", "b", "c"));
  EXPECT_EQ(Counters().retried, 4U);
}

TEST_F(SyslogResend, OnTheRetryThreadSurvivesAWriteThatFails) {
  PutBatchFile(kFile, "a\n");
  std::atomic<int> failures = 3;
  const InterceptedSend sends([&](const InterceptedSend::Call& call) {
    errno = ECONNRESET;
    return failures-- > 0 ? -1 : InterceptedSend::System(call);
  });
  EXPECT_TRUE(WakeUntil([] { return BatchFiles().empty(); }));
  EXPECT_EQ(ReadFile(kRetryLog), std::string(kRefused) + kRefused + kRefused);
  EXPECT_EQ(Counters().retried, 1U);
  EXPECT_EQ(Counters().stored, 0U);
}

// The worker cannot store its lines before the pass has ended.
TEST_F(SyslogResend, AndWorkerThatFailMeanwhileDoNotBlockEachOther) {
  PutBatchFile(kFile, "again\n");
  Gate gate;
  const InterceptedSend sends([&](const InterceptedSend::Call& call) -> ssize_t {
    if (call.text == "again\n") gate.Pass();
    errno = ECONNRESET;
    return -1;
  });
  ASSERT_TRUE(WakeUntil([&] { return gate.HasVisitor(); }));
  Send({"new"});
  gate.Open();
  EXPECT_TRUE(QueueEmpties());
  EXPECT_EQ(Counters().stored, 1U);
  EXPECT_EQ(StoredText(), "again\nnew\n");
}

TEST_F(SyslogResend, LeavesOutWhatTheSenderStoredLast) {
  (void)Complaints([this] {
    const InterceptedSend sends(InterceptedSend::FailingWith(ECONNRESET));
    SendAndWait({"stored"});
  });
  Pass();
  EXPECT_EQ(StoredText(), "stored\n");
}

TEST_F(SyslogResend, TakesWhatAnEarlierSenderStored) {
  (void)Complaints([this] {
    const InterceptedSend sends(InterceptedSend::FailingWith(ECONNRESET));
    QueueTogether({"a", "b"});
    EXPECT_TRUE(QueueEmpties());
  });
  StartTcp();
  Pass();
  EXPECT_THAT(BatchFiles(), IsEmpty());
  EXPECT_EQ(collector_.Accept().ReadToEnd(), "");
  EXPECT_THAT(collector_.Accept().ReadLines(2), ElementsAre("a", "b"));
}

TEST_F(SyslogResend, GoesOverUdpWhereThatIsTheProtocol) {
  DatagramCollector datagrams;
  Start("UDP", datagrams.Port());
  PutBatchFile(kFile, "a\nb\n");
  Pass();
  EXPECT_EQ(datagrams.Receive(), "a");
  EXPECT_EQ(datagrams.Receive(), "b");
  EXPECT_EQ(Counters().retried, 2U);
  EXPECT_EQ(Counters().sent, 0U);
}

TEST_F(SyslogResend, ThatTheSystemRefusesOverUdpKeepsTheFile) {
  Start("UDP", 514);
  const std::string line(70000, 'x');
  PutBatchFile(kFile, line + '\n');
  EXPECT_EQ(PassSays(), std::string("UDP send failed: Message too long\n") + kRefused);
  EXPECT_TRUE(StoredText() == line + '\n');
}

TEST_F(SyslogResend, RefusesForAProtocolThatIsNone) {
  sender_->protocol = static_cast<SyslogProtocol>(7);
  PutBatchFile(kFile, "a\n");
  EXPECT_EQ(PassSays(), kRefused);
  EXPECT_FALSE(collector_.HasVisitor());
  EXPECT_EQ(StoredText(), "a\n");
}

TEST_F(SyslogResend, DoesNotHappenAtStart) {
  sender_.reset();
  PutBatchFile(kFile, "a\n");
  StartTcp();
  SendAndWait({"line"});
  EXPECT_THAT(collector_.Accept().ReadLines(1), ElementsAre("line"));
  EXPECT_EQ(StoredText(), "a\n");
}

}  // namespace
}  // namespace wkagent::test
