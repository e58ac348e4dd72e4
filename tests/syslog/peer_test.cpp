// Collectors that close, break or talk.

#include <string>

#include <fcntl.h>

#include "syslog/sender_fixture.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SyslogPeer : public SenderTest {
 protected:
  SyslogPeer() { StartTcp(); }

  // Sends a first line and gets it; returns the collector's end.
  CollectorEnd Connect() {
    SendAndWait({"first"});
    CollectorEnd end = collector_.Accept();
    EXPECT_THAT(end.ReadLines(1), ElementsAre("first"));
    return end;
  }

  // The next line comes over a new connection and none is stored.
  void ExpectNewConnection() {
    ASSERT_TRUE(Arrives(POLLRDHUP));
    SendAndWait({"second"});
    EXPECT_THAT(collector_.Accept().ReadLines(1), ElementsAre("second"));
    EXPECT_EQ(Counters().connectionsOpened, 2U);
    EXPECT_EQ(Counters().sent, 2U);
    EXPECT_THAT(BatchFiles(), IsEmpty());
    EXPECT_EQ(ReadFile(kSenderLog), "");
  }
};

TEST_F(SyslogPeer, ThatHasClosedIsNoticedBeforeTheNextBatch) {
  Connect().Close();
  ExpectNewConnection();
}

TEST_F(SyslogPeer, ThatHasBrokenOffIsNoticedBeforeTheNextBatch) {
  Connect().Break();
  ExpectNewConnection();
}

TEST_F(SyslogPeer, ThatHasSpokenAndClosedIsNoticedBeforeTheNextBatch) {
  CollectorEnd end = Connect();
  end.Write("good bye\n");
  end.Close();
  ExpectNewConnection();
}

TEST_F(SyslogPeer, ThatSpeaksKeepsItsConnection) {
  CollectorEnd end = Connect();
  for (int i = 0; i < 3; ++i) {
    end.Write(std::string(100000, 'x'));
    SendAndWait({"next"});
    EXPECT_THAT(end.ReadLines(1), ElementsAre("next"));
  }
  EXPECT_EQ(Counters().connectionsOpened, 1U);
}

TEST_F(SyslogPeer, ThatSpeaksGetsEverythingWhenTheSenderEnds) {
  CollectorEnd end = Connect();
  const std::string line(100000, 'x');
  SendAndWait({line});
  end.Write("unread");
  ASSERT_TRUE(Arrives(POLLIN));
  sender_.reset();
  EXPECT_TRUE(end.ReadToEnd() == line + '\n');
}

TEST_F(SyslogPeer, ThatHasClosedLeavesAConnectionToItsHolder) {
  Connection* const connection = sender_->getConnection();
  const int socket = connection->socketFd;
  collector_.Accept().Close();
  ASSERT_TRUE(Arrives(POLLRDHUP));
  Connection* const other = sender_->getConnection();
  EXPECT_NE(other, connection);
  EXPECT_THAT(Pool(), ElementsAre(other));
  EXPECT_EQ(connection->socketFd, socket);
  sender_->releaseConnection(connection);
  EXPECT_LT(fcntl(socket, F_GETFD), 0);
}

TEST_F(SyslogPeer, ThatComesBackGetsTheLinesThatFollow) {
  Connect().Close();
  ASSERT_TRUE(Arrives(POLLRDHUP));
  collector_.Refuse();
  (void)SenderSays([this] { SendAndWait({"stored"}); });
  EXPECT_EQ(StoredText(), "stored\n");
  Collector another;
  sender_->serverPort = another.Port();
  SendAndWait({"sent"});
  EXPECT_THAT(another.Accept().ReadLines(1), ElementsAre("sent"));
}

}  // namespace
}  // namespace wkagent::test
