// SetSafeDelivery, with which lines are lost only where the library cannot know it.

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/socket.h>

#include "support/gate.h"
#include "support/intercepted_send.h"
#include "support/private_root.h"
#include "syslog/sender_fixture.h"

namespace wkagent::test {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t kQueueLimit = 100000;

class SyslogSafeDelivery : public SenderTest {
 protected:
  SyslogSafeDelivery() {
    StartTcp();
    sender_->SetSafeDelivery(true);
  }

  static long Seconds(int socket, int option) {
    timeval limit{};
    socklen_t size = sizeof(limit);
    EXPECT_EQ(getsockopt(socket, SOL_SOCKET, option, &limit, &size), 0);
    return limit.tv_sec;
  }

  // Waits until the worker has failed to store a line so many times.
  [[nodiscard]] static bool StoringFails(int times) {
    return WaitUntil([times] {
      const std::string log = ReadFile(kRetryLog);
      return std::count(log.begin(), log.end(), '\n') >= times;
    });
  }
};

TEST_F(SyslogSafeDelivery, ContinuesAWriteThatWasTakenInPart) {
  const InterceptedSend sends(InterceptedSend::TakingAtMost(4));
  SendAndWait({"long line"});
  EXPECT_THAT(sends.Texts(), ElementsAre("long line\n", " line\n", "e\n"));
  EXPECT_THAT(collector_.Accept().ReadLines(1), ElementsAre("long line"));
  EXPECT_EQ(Counters().sent, 1U);
}

TEST_F(SyslogSafeDelivery, KeepsLinesOfSeveralThreadsApart) {
  const InterceptedSend sends(InterceptedSend::TakingAtMost(1));
  const std::string tail(200, '.');
  std::vector<std::string> lines = FromThreads([&](const std::string& line) {
    EXPECT_TRUE(sender_->sendTCP(line + tail));  // in more than 200 calls
  });
  for (std::string& line : lines) line += tail;
  EXPECT_THAT(collector_.Accept().ReadLines(lines.size()),
              testing::UnorderedElementsAreArray(lines));
}

TEST_F(SyslogSafeDelivery, StoresTheBatchWhoseContinuationFails) {
  const InterceptedSend sends([](const InterceptedSend::Call& call) {
    errno = ECONNRESET;
    return call.text.starts_with("a") ? InterceptedSend::System({call.socket, "a\n", 0}) : -1;
  });
  EXPECT_EQ(SenderSays([this] {
              QueueTogether({"a", "b"});
              EXPECT_TRUE(QueueEmpties());
            }),
            "Batch send failed (TCP): Connection reset by peer\n");
  EXPECT_EQ(StoredText(), "a\nb\n");
  EXPECT_EQ(Counters().sent, 0U);
}

TEST_F(SyslogSafeDelivery, LimitsWaitsTo30Seconds) {
  const int socket = sender_->getConnection()->socketFd;
  EXPECT_EQ(Seconds(socket, SO_SNDTIMEO), 30);
  EXPECT_EQ(Seconds(socket, SO_RCVTIMEO), 30);
}

TEST_F(SyslogSafeDelivery, WaitsHaveNoLimitWithoutIt) {
  sender_->SetSafeDelivery(false);
  const int socket = sender_->getConnection()->socketFd;
  EXPECT_EQ(Seconds(socket, SO_SNDTIMEO), 0);
  EXPECT_EQ(Seconds(socket, SO_RCVTIMEO), 0);
}

TEST_F(SyslogSafeDelivery, StoresTheBatchThatMakesNoProgress) {
  const InterceptedSend sends(InterceptedSend::FailingWith(EAGAIN));
  EXPECT_EQ(SenderSays([this] { SendAndWait({"line"}); }),
            "Batch send failed (TCP): Resource temporarily unavailable\n");
  EXPECT_EQ(StoredText(), "line\n");
}

TEST_F(SyslogSafeDelivery, StoresLinesAtOnceWhileTheQueueIsFull) {
  {
    const MutexLock pool(sender_->poolMutex);  // so that the worker gets no connection
    Send({"in hand"});
    ASSERT_TRUE(WaitUntil([this] { return QueueSize() == 0; }));
    QueueTogether(std::vector<std::string>(kQueueLimit - 1, "line"));
    Send({"the last that fits", "too many", "again"});
    EXPECT_EQ(QueueSize(), kQueueLimit);
    EXPECT_EQ(StoredText(), "too many\nagain\n");
    EXPECT_EQ(Counters().stored, 2U);
    EXPECT_EQ(Counters().queued, 2U);
    BlockStore();
    (void)Complaints([this] { EXPECT_FALSE(sender_->send("lost")); });
    EXPECT_EQ(Counters().dropped, 1U);
    UnblockStore();
    const MutexLock queue(sender_->queueMutex);
    sender_->messageQueue.clear();
  }
  EXPECT_TRUE(QueueEmpties());
}

TEST_F(SyslogSafeDelivery, KeepsLinesThatCanBeNeitherSentNorStored) {
  collector_.Refuse();
  BlockStore();
  (void)Complaints([this] {
    Send(Numbered("line", 150));
    EXPECT_TRUE(StoringFails(2));  // at once and a second later
    EXPECT_FALSE(sender_->WaitUntilEmpty(milliseconds(0)));
    EXPECT_EQ(Counters().dropped, 0U);
    EXPECT_EQ(Counters().stored, 0U);
    UnblockStore();
    EXPECT_TRUE(QueueEmpties());
  });
  EXPECT_EQ(StoredText(), Text(Numbered("line", 150)));
}

TEST_F(SyslogSafeDelivery, KeepsLinesInOrderOnADiskThatFillsUp) {
  MountTmpfs(kAuditData, "size=32k");
  std::vector<std::string> lines = Numbered("line", 60);
  for (std::string& line : lines) line.resize(999, '.');
  collector_.Refuse();
  (void)Complaints([&] {
    QueueTogether(lines);
    EXPECT_TRUE(StoringFails(1));
    RequireMounted(mount(nullptr, kAuditData.c_str(), nullptr, MS_REMOUNT, "size=1m"), "larger");
    EXPECT_TRUE(QueueEmpties());
  });
  EXPECT_EQ(StoredText(), Text(lines));
  sender_.reset();
  Unmount(kAuditData);
}

TEST_F(SyslogSafeDelivery, StoresWhatIsQueuedWhenTheSenderEnds) {
  const InterceptedSend sends;
  {
    const MutexLock lock(sender_->poolMutex);
    Send({"in hand"});
    ASSERT_TRUE(WaitUntil([this] { return QueueSize() == 0; }));
    QueueTogether(Numbered("line", 500));
    sender_->running = false;
  }
  ASSERT_TRUE(WaitUntil([this] { return Counters().sent == 1; }));
  EXPECT_TRUE(SenderEndsSoon());
  EXPECT_THAT(sends.Texts(), ElementsAre("in hand\n"));
  EXPECT_EQ(StoredText(), Text(Numbered("line", 500)));
}

TEST_F(SyslogSafeDelivery, LosesNothingWhereverTheEndFallsIn) {
  sender_.reset();
  for (int i = 0; i < 20; ++i) {
    StartTcp();
    sender_->SetSafeDelivery(true);
    EXPECT_TRUE(sender_->sendTCP("first"));
    Send(Numbered("line", 300));
    sender_.reset();
    const std::string sent = collector_.Accept().ReadToEnd();
    EXPECT_EQ(sent + StoredText(), "first\n" + Text(Numbered("line", 300)));
    std::filesystem::remove_all(kStore);
  }
}

TEST_F(SyslogSafeDelivery, ReportsHowManyLinesTheEndLost) {
  collector_.Refuse();
  BlockStore();
  const std::string said = Complaints([this] {
    QueueTogether(Numbered("line", 3));
    EXPECT_TRUE(StoringFails(1));
    EXPECT_TRUE(SenderEndsSoon());
  });
  EXPECT_THAT(said, testing::EndsWith("Lines lost: 3\n"));
  EXPECT_THAT(ReadFile(kSenderLog), testing::EndsWith("Lines lost: 3\n"));
}

TEST_F(SyslogSafeDelivery, ResendsTheLatestFileToo) {
  (void)Complaints([this] {
    const InterceptedSend sends(InterceptedSend::FailingWith(ECONNRESET));
    SendAndWait({"a", "b"});
  });
  sender_->retryHandler.retryPendingFiles();
  EXPECT_THAT(BatchFiles(), IsEmpty());
  EXPECT_EQ(Counters().retried, 2U);
}

TEST_F(SyslogSafeDelivery, CanBeSwitchedOffAgain) {
  sender_->SetSafeDelivery(false);
  const InterceptedSend sends(InterceptedSend::TakingAtMost(3));
  SendAndWait({"long line"});
  EXPECT_THAT(sends.Texts(), ElementsAre("long line\n"));
  EXPECT_TRUE(sender_->retryHandler.saveToBatchFile("current"));
  sender_->retryHandler.retryPendingFiles();
  EXPECT_EQ(StoredText(), "current\n");
}

}  // namespace
}  // namespace wkagent::test
