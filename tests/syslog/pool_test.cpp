// The pool of connections: reuse, idle time, size.

#include <chrono>
#include <future>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "support/fixed_steady_clock.h"
#include "support/open_files.h"
#include "syslog/sender_fixture.h"

namespace wkagent::test {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

static_assert(WKSyslogSender::CONN_TIMEOUT == 300);
static_assert(WKSyslogSender::MAX_POOL_SIZE == 10);

bool IsOpen(int socket) { return fcntl(socket, F_GETFD) >= 0; }

int Option(int socket, int level, int option) {
  int value = -1;
  socklen_t size = sizeof(value);
  EXPECT_EQ(getsockopt(socket, level, option, &value, &size), 0);
  return value;
}

class SyslogPool : public SenderTest {
 protected:
  SyslogPool() { StartTcp(); }

  // A connection of which nobody is the holder.
  Connection* Opened() {
    Connection* const connection = sender_->getConnection();
    sender_->releaseConnection(connection);
    return connection;
  }

  // Puts an entry without socket into the pool.
  Connection* AddDead(Clock::time_point lastUsed) {
    auto connection = std::make_unique<Connection>();
    connection->lastUsed = lastUsed;
    const MutexLock lock(sender_->poolMutex);
    sender_->connectionPool.push_back(connection.get());
    return connection.release();
  }

  // Adds entries without socket until the pool has so many, the oldest first.
  std::vector<Connection*> FillWithDead(std::size_t size = WKSyslogSender::MAX_POOL_SIZE) {
    std::vector<Connection*> added;
    while (Pool().size() < size) {
      added.push_back(AddDead(now_ + std::chrono::milliseconds(added.size())));
    }
    return added;
  }

  const Clock::time_point now_ = Clock::now();
};

TEST_F(SyslogPool, NewConnectionIsListedAndOpen) {
  Connection* const connection = sender_->getConnection();
  ASSERT_NE(connection, nullptr);
  EXPECT_THAT(Pool(), ElementsAre(connection));
  EXPECT_EQ(connection->ssl, nullptr);
  EXPECT_GE(connection->lastUsed, now_);
  EXPECT_EQ(fcntl(connection->socketFd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(SyslogPool, NewConnectionIsKeptAlive) {
  const int socket = sender_->getConnection()->socketFd;
  EXPECT_EQ(Option(socket, SOL_SOCKET, SO_KEEPALIVE), 1);
  EXPECT_EQ(Option(socket, IPPROTO_TCP, TCP_KEEPCNT), 5);
  EXPECT_EQ(Option(socket, IPPROTO_TCP, TCP_KEEPIDLE), 60);
  EXPECT_EQ(Option(socket, IPPROTO_TCP, TCP_KEEPINTVL), 10);
}

TEST_F(SyslogPool, ConnectionIsUsedAgainAlsoWhileItIsHeld) {
  Connection* const connection = sender_->getConnection();
  EXPECT_EQ(sender_->getConnection(), connection);
  sender_->releaseConnection(connection);
  sender_->releaseConnection(connection);
  EXPECT_EQ(sender_->getConnection(), connection);
  EXPECT_EQ(Counters().connectionsOpened, 1U);
}

TEST_F(SyslogPool, CallersThatWaitForAConnectionShareOne) {
  std::vector<std::future<Connection*>> callers;
  {
    const MutexLock lock(sender_->poolMutex);
    for (int i = 0; i < 4; ++i) {
      callers.push_back(
          std::async(std::launch::async, [this] { return sender_->getConnection(); }));
    }
  }
  std::set<Connection*> connections;
  for (auto& caller : callers) connections.insert(caller.get());
  EXPECT_THAT(connections, ElementsAre(Pool().at(0)));
  EXPECT_EQ(Counters().connectionsOpened, 1U);
}

TEST_F(SyslogPool, FirstOpenConnectionOfTheListIsUsed) {
  Connection* const dead = AddDead(now_);
  Connection* const first = Opened();
  Connection* const second = AddDead(now_ - seconds(100));
  second->socketFd = dup(first->socketFd);
  EXPECT_EQ(sender_->getConnection(), first);
  EXPECT_THAT(Pool(), ElementsAre(dead, first, second));
}

TEST_F(SyslogPool, HandingOutMarksAConnectionAsUsed) {
  Connection* const connection = Opened();
  const FixedSteadyClock clock(now_ + seconds(5));
  EXPECT_EQ(sender_->getConnection(), connection);
  EXPECT_EQ(connection->lastUsed, now_ + seconds(5));
}

TEST_F(SyslogPool, ReleasingMarksAConnectionAsUsed) {
  Connection* const connection = sender_->getConnection();
  const FixedSteadyClock clock(now_ + seconds(5));
  sender_->releaseConnection(connection);
  EXPECT_EQ(connection->lastUsed, now_ + seconds(5));
}

TEST_F(SyslogPool, ConnectionUsed300SecondsAgoIsKept) {
  Connection* const connection = Opened();
  connection->lastUsed = now_;
  const FixedSteadyClock clock(now_ + seconds(300));
  sender_->cleanupStaleConnections();
  EXPECT_THAT(Pool(), ElementsAre(connection));
  EXPECT_EQ(sender_->getConnection(), connection);
}

TEST_F(SyslogPool, ConnectionUsedLongerAgoIsClosed) {
  Opened()->lastUsed = now_;
  {
    const FixedSteadyClock clock(now_ + seconds(300) + nanoseconds(1));
    sender_->cleanupStaleConnections();
  }
  EXPECT_THAT(Pool(), IsEmpty());
  EXPECT_EQ(collector_.Accept().ReadToEnd(), "");
}

TEST_F(SyslogPool, IdleConnectionIsClosedWhenOneIsWanted) {
  Opened()->lastUsed = now_ - seconds(301);
  Connection* const connection = sender_->getConnection();
  EXPECT_THAT(Pool(), ElementsAre(connection));
  EXPECT_EQ(Counters().connectionsOpened, 2U);
  EXPECT_EQ(collector_.Accept().ReadToEnd(), "");
}

TEST_F(SyslogPool, CleanUpKeepsTheOrderOfWhatStays) {
  Connection* const a = AddDead(now_);
  (void)AddDead(now_ - seconds(400));
  Connection* const b = AddDead(now_);
  (void)AddDead(now_ - seconds(301));
  Connection* const c = AddDead(now_);
  sender_->cleanupStaleConnections();
  EXPECT_THAT(Pool(), ElementsAre(a, b, c));
}

TEST_F(SyslogPool, TenthConnectionIsAppended) {
  std::vector<Connection*> expected = FillWithDead(9);
  expected.push_back(sender_->getConnection());
  EXPECT_EQ(Pool(), expected);
}

TEST_F(SyslogPool, EleventhConnectionTakesThePlaceOfTheLeastRecentlyUsed) {
  std::vector<Connection*> expected = FillWithDead();
  expected[6]->lastUsed = now_ - seconds(1);
  expected[6] = sender_->getConnection();
  EXPECT_EQ(Pool(), expected);
  EXPECT_GE(expected[6]->socketFd, 0);
}

TEST_F(SyslogPool, OfSeveralLeastRecentlyUsedTheFirstGoes) {
  std::vector<Connection*> expected = FillWithDead();
  for (const std::size_t i : {3U, 5U, 9U}) expected[i]->lastUsed = now_ - seconds(1);
  expected[3] = sender_->getConnection();
  EXPECT_EQ(Pool(), expected);
}

TEST_F(SyslogPool, ConnectionThatCannotBeOpenedTakesNobodysPlace) {
  const std::vector<Connection*> expected = FillWithDead();
  collector_.Refuse();
  (void)SenderSays([this] { EXPECT_EQ(sender_->getConnection(), nullptr); });
  EXPECT_EQ(Pool(), expected);
}

TEST_F(SyslogPool, HeldConnectionIsClosedByCleanUpWhenItIsReleased) {
  Connection* const connection = sender_->getConnection();
  const int socket = connection->socketFd;
  connection->lastUsed = now_ - seconds(301);
  sender_->cleanupStaleConnections();
  EXPECT_THAT(Pool(), IsEmpty());
  EXPECT_TRUE(IsOpen(socket));
  sender_->sendBatch(connection, {"still works"});
  sender_->releaseConnection(connection);
  EXPECT_FALSE(IsOpen(socket));
  EXPECT_EQ(collector_.Accept().ReadToEnd(), "still works\n");
}

TEST_F(SyslogPool, ConnectionThatSeveralHoldIsClosedWhenTheLastReleasesIt) {
  Connection* const connection = sender_->getConnection();
  EXPECT_EQ(sender_->getConnection(), connection);
  const int socket = connection->socketFd;
  connection->lastUsed = now_ - seconds(301);
  sender_->cleanupStaleConnections();
  sender_->releaseConnection(connection);
  EXPECT_TRUE(IsOpen(socket));
  sender_->releaseConnection(connection);
  EXPECT_FALSE(IsOpen(socket));
}

TEST_F(SyslogPool, HeldConnectionIsNotClosedByEvictionBeforeItsRelease) {
  Connection* const held = sender_->getConnection();
  const int socket = std::exchange(held->socketFd, -1);  // so that a new one is opened
  held->lastUsed = now_ - seconds(1);
  FillWithDead();
  Connection* const connection = sender_->getConnection();
  held->socketFd = socket;
  EXPECT_EQ(Pool().front(), connection);
  EXPECT_TRUE(IsOpen(socket));
  sender_->releaseConnection(held);
  EXPECT_FALSE(IsOpen(socket));
}

TEST_F(SyslogPool, SenderThatEndsClosesWhatIsHeldToo) {
  sender_->getConnection()->lastUsed = now_ - seconds(301);
  EXPECT_NE(sender_->getConnection(), nullptr);  // the first one has left the pool
  EXPECT_EQ(Counters().connectionsOpened, 2U);
  EXPECT_TRUE(SenderEndsSoon());
  EXPECT_EQ(collector_.Accept().ReadToEnd(), "");
  EXPECT_EQ(collector_.Accept().ReadToEnd(), "");
}

TEST_F(SyslogPool, ReleaseOfNothingOrOfWhatIsGoneIsHarmless) {
  sender_->releaseConnection(nullptr);
  Connection* const connection = Opened();
  connection->lastUsed = now_ - seconds(301);
  sender_->cleanupStaleConnections();
  sender_->releaseConnection(connection);
  sender_->releaseConnection(connection);
  EXPECT_THAT(Pool(), IsEmpty());
}

TEST_F(SyslogPool, ReleaseTooManyIsHarmless) {
  Connection* const connection = Opened();
  sender_->releaseConnection(connection);
  EXPECT_EQ(sender_->getConnection(), connection);
  EXPECT_EQ(connection->users, 1);
  EXPECT_TRUE(sender_->sendTCP("line"));
}

TEST_F(SyslogPool, CleanupOfAListedConnectionClosesIt) {
  Connection* const connection = Opened();
  {
    const MutexLock lock(sender_->poolMutex);
    sender_->cleanupConnection(connection);
  }
  EXPECT_EQ(collector_.Accept().ReadToEnd(), "");
  EXPECT_TRUE(sender_->sendTCP("line"));
  EXPECT_THAT(Pool(), SizeIs(1));
  EXPECT_THAT(collector_.Accept().ReadLines(1), ElementsAre("line"));
}

TEST_F(SyslogPool, CleanupOfAnUnlistedConnectionDeletesIt) {
  const long files = OpenFiles();
  auto connection = std::make_unique<Connection>();
  connection->socketFd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sender_->cleanupConnection(connection.release());
  EXPECT_EQ(OpenFiles(), files);
  sender_->cleanupConnection(nullptr);
}

TEST_F(SyslogPool, CleanupOfAHeldConnectionLeavesItToItsHolder) {
  Connection* const connection = sender_->getConnection();
  EXPECT_EQ(sender_->getConnection(), connection);
  {
    const MutexLock lock(sender_->poolMutex);
    sender_->cleanupConnection(connection);
  }
  const int socket = connection->socketFd;
  EXPECT_TRUE(IsOpen(socket));
  EXPECT_EQ(SenderSays([&] { sender_->sendBatch(connection, {"stored"}); }),
            "Batch send failed (TCP): Broken pipe\n");
  sender_->releaseConnection(connection);
  sender_->releaseConnection(connection);
  EXPECT_FALSE(IsOpen(socket));
  EXPECT_THAT(Pool(), IsEmpty());
}

}  // namespace
}  // namespace wkagent::test
