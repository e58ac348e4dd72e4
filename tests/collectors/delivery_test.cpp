// A great many lines to the collectors that operators use, over each transport: every line once, in
// order, byte for byte.

#include "collectors/delivery_fixture.h"
#include "collectors/socket_table.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

constexpr int kLines = Scaled(100000);

class SyslogDelivery : public CollectorTest {
 protected:
  void ExpectEveryLineOnceInOrder(Transport transport) {
    const CollectorProgram collector = Start(transport);
    WKSyslogSender sender;
    Feed(sender, 0, kLines);
    ASSERT_TRUE(sender.WaitUntilEmpty(kDeadline));
    ASSERT_TRUE(WaitForMark(sender, collector));
    const Tally tally = CountLines(collector.Text(), kLines);
    Record(tally, sender);
    EXPECT_EQ(static_cast<std::size_t>(kLines), tally.arrived);
    EXPECT_EQ(0U, tally.again + tally.torn);
    EXPECT_TRUE(tally.inOrder);
    EXPECT_EQ(1U, sender.GetCounters().connectionsOpened);
  }

  // Sends a few datagrams at a time, and waits while the collector has many in its socket.
  static void FeedDatagrams(WKSyslogSender& sender, int port) {
    constexpr int kStep = 20;
    constexpr std::size_t kMany = 64 * 1024;
    for (int first = 0; first < kLines; first += kStep) {
      Feed(sender, first, first + kStep);
      ASSERT_TRUE(WaitUntil([port] { return FindUdpSocket(port).value().unread < kMany; }));
    }
  }
};

INSTANTIATE_FOR_COLLECTORS(SyslogDelivery);

TEST_P(SyslogDelivery, EveryLineArrivesOnceAndInOrderOverTcp) {
  ExpectEveryLineOnceInOrder(Transport::kTcp);
}

TEST_P(SyslogDelivery, EveryLineArrivesOnceAndInOrderOverTls) {
  ExpectEveryLineOnceInOrder(Transport::kTls);
}

TEST_P(SyslogDelivery, EveryDatagramThatTheSystemDeliversArrivesOnceAndInOrder) {
  const CollectorProgram collector = Start(Transport::kUdp);
  WKSyslogSender sender;
  FeedDatagrams(sender, collector.Port());
  ASSERT_TRUE(WaitForMark(sender, collector));
  const Tally tally = CountLines(collector.Text(), kLines);
  Record(tally, sender);
  EXPECT_EQ(FindUdpSocket(collector.Port()).value().dropped, tally.Lost());
  EXPECT_LT(tally.Lost(), static_cast<std::size_t>(kLines / 100));
  EXPECT_EQ(0U, tally.again + tally.torn);
  EXPECT_TRUE(tally.inOrder);
}

}  // namespace
}  // namespace wkagent::test
