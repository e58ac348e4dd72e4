// SIGPIPE, which ends a process that does nothing about it.

#include <csignal>
#include <thread>

#include <sys/socket.h>

#include "syslog/sender_fixture.h"
#include "support/signals.h"

namespace wkagent::test {
namespace {

constexpr char kBroken[] = "Batch send failed (TCP): Broken pipe\n";

// The default action is in force, in a host that has done nothing about the signal.
class SyslogBrokenPipe : public SenderTest {
 protected:
  SyslogBrokenPipe() : before_(std::signal(SIGPIPE, SIG_DFL)) { StartTcp(); }
  ~SyslogBrokenPipe() override { std::signal(SIGPIPE, before_); }

  // Writes on a connection that takes nothing more.
  std::string WriteToBrokenPipe() {
    Connection* const connection = sender_->getConnection();
    shutdown(connection->socketFd, SHUT_WR);
    return SenderSays([&] {
      sender_->sendBatch(connection, {"line"});
      sender_->releaseConnection(connection);
    });
  }

 private:
  void (*const before_)(int);
};

TEST_F(SyslogBrokenPipe, DoesNotReachTheHost) {
  EXPECT_EQ(WriteToBrokenPipe(), kBroken);
  EXPECT_EQ(WriteToBrokenPipe(), kBroken);
  EXPECT_FALSE(BrokenPipeIsPending());
  EXPECT_FALSE(BrokenPipeIsBlocked());
  EXPECT_EQ(StoredText(), "line\nline\n");
}

TEST_F(SyslogBrokenPipe, DoesNotReachAHostThatBlocksIt) {
  const BlockedBrokenPipe blocked;
  EXPECT_EQ(WriteToBrokenPipe(), kBroken);
  EXPECT_FALSE(BrokenPipeIsPending());
  EXPECT_TRUE(BrokenPipeIsBlocked());
}

TEST_F(SyslogBrokenPipe, ThatTheHostHasPendingStaysPending) {
  const BlockedBrokenPipe blocked;
  raise(SIGPIPE);
  EXPECT_EQ(WriteToBrokenPipe(), kBroken);
  EXPECT_TRUE(BrokenPipeIsPending());
}

TEST_F(SyslogBrokenPipe, OfAnyThreadDoesNotReachTheHost) {
  std::thread([this] { EXPECT_EQ(WriteToBrokenPipe(), kBroken); }).join();
  EXPECT_EQ(StoredText(), "line\n");
}

// Whoever the connection breaks for first, the process lives.
TEST_F(SyslogBrokenPipe, OfTheWorkerDoesNotReachTheHost) {
  Connection* const connection = sender_->getConnection();
  shutdown(connection->socketFd, SHUT_WR);
  EXPECT_EQ(SenderSays([this] { SendAndWait({"line"}); }), kBroken);
  EXPECT_EQ(StoredText(), "line\n");
  sender_->releaseConnection(connection);
}

}  // namespace
}  // namespace wkagent::test
