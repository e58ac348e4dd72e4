// Collectors that close, break or talk.

#include <string>

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
  sender_.reset();
  EXPECT_EQ(end.ReadToEnd(), line + '\n');
}

TEST_F(SyslogPeer, ThatSpeaksIsHeardOnAConnectionThatIsHeld) {
  Connection* const connection = sender_->getConnection();
  CollectorEnd end = collector_.Accept();
  end.Write("hello");
  EXPECT_EQ(sender_->getConnection(), connection);
  end.Close();
  Connection* const other = sender_->getConnection();
  EXPECT_NE(other, connection);
  EXPECT_THAT(Pool(), ElementsAre(other));
  sender_->releaseConnection(connection);
}

TEST_F(SyslogPeer, ThatComesBackGetsTheLinesThatFollow) {
  const int port = collector_.Port();
  Connect().Close();
  collector_.Close();
  (void)SenderSays([this] { SendAndWait({"stored"}); });
  EXPECT_EQ(StoredText(), "stored\n");
  Collector another;
  sender_->serverPort = another.Port();
  SendAndWait({"sent"});
  EXPECT_THAT(another.Accept().ReadLines(1), ElementsAre("sent"));
  EXPECT_NE(another.Port(), port);
}

}  // namespace
}  // namespace wkagent::test
