// Clients that a server refuses for want of a certificate. Over TLS 1.2 it does so in the
// handshake. Over TLS 1.3 it does so when the client's handshake is over and lines are on their
// way: a sender that is to deliver safely waits for its answer, any other counts those lines as
// sent.

#include "collectors/collector_double.h"
#include "collectors/delivery_fixture.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::StartsWith;

constexpr int kLines = 2000;
constexpr int kStep = 100;

class SyslogTlsRefusal : public DeliveryTest {
 protected:
  // Sends lines a few at a time, so that each finds out about the one before.
  static void FeedInSteps(WKSyslogSender& sender) {
    for (int first = 0; first < kLines; first += kStep) {
      Feed(sender, first, first + kStep);
      ASSERT_TRUE(sender.WaitUntilEmpty(kDeadline));
    }
  }

  // A server over TLS 1.3 that needs a certificate from its clients.
  [[nodiscard]] DoubleSettings Demanding() {
    return {.identity = authority_.Issue({.alternativeNames = "DNS:collector"}),
            .clientCa = authority_.Certificate(),
            .oldest = TLS1_3_VERSION};
  }
};

TEST_F(SyslogTlsRefusal, StoresEveryLineWhereDeliveryIsSafe) {
  const CollectorDouble server(Demanding());
  UseTls(server.Port(), {.ca = authority_.Certificate()});
  WKSyslogSender sender;
  sender.SetSafeDelivery(true);
  FeedInSteps(sender);
  Record(CountLines(server.Text(), kLines), sender);
  EXPECT_EQ(0U, sender.GetCounters().sent);
  EXPECT_EQ(static_cast<std::size_t>(kLines), StoredLines().size());
  EXPECT_THAT(Diagnostics(), StartsWith("SSL_connect failed: SSL_get_error=1, error:0A00045C:SSL "
                                        "routines::tlsv13 alert certificate required\n"));
}

TEST_F(SyslogTlsRefusal, LeavesTheStoredLinesToARetryThatIsWelcome) {
  const CollectorDouble server(Demanding());
  UseTls(server.Port(), {.ca = authority_.Certificate()});
  {
    WKSyslogSender sender;
    sender.SetSafeDelivery(true);
    FeedInSteps(sender);
    sender.retryHandler.retryPendingFiles();
  }
  ASSERT_EQ(static_cast<std::size_t>(kLines), StoredLines().size());
  UseTls(server.Port(), {.ca = authority_.Certificate(),
                         .client = authority_.Issue({.commonName = "agent"}),
                         .mutual = true});
  WKSyslogSender sender;
  sender.SetSafeDelivery(true);
  EXPECT_TRUE(Drain(sender));
  ASSERT_TRUE(WaitUntil([&] { return CountLines(server.Text(), kLines).Lost() == 0; }));
  EXPECT_TRUE(CountLines(server.Text(), kLines).inOrder);
}

TEST_F(SyslogTlsRefusal, IsNotAwaitedOtherwiseSoThatLinesCountAsSent) {
  const CollectorDouble server(Demanding());
  UseTls(server.Port(), {.ca = authority_.Certificate()});
  WKSyslogSender sender;
  FeedInSteps(sender);
  const Tally tally = CountLines(server.Text(), kLines);
  Record(tally, sender);
  const WKSyslogSender::Counters counters = sender.GetCounters();
  EXPECT_EQ(static_cast<std::size_t>(kLines), counters.sent + counters.stored);
  EXPECT_EQ(counters.stored, StoredLines().size());
  EXPECT_EQ(0U, tally.arrived);
}

TEST_F(SyslogTlsRefusal, IsNotSeenInAServerThatSaysNothing) {
  DoubleSettings silent = Demanding();
  silent.tickets = 0;
  const CollectorDouble server(silent);
  UseTls(server.Port(), {.ca = authority_.Certificate(),
                         .client = authority_.Issue({.commonName = "agent"}),
                         .mutual = true});
  WKSyslogSender sender;
  sender.SetSafeDelivery(true);
  FeedInSteps(sender);
  ASSERT_TRUE(WaitUntil([&] { return CountLines(server.Text(), kLines).Lost() == 0; }));
  EXPECT_EQ(1U, sender.GetCounters().connectionsOpened);
  EXPECT_EQ("", Diagnostics());
}

}  // namespace
}  // namespace wkagent::test
