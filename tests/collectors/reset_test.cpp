// Connections that a collector resets in the middle of a batch.

#include "collectors/collector_double.h"
#include "collectors/delivery_fixture.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

constexpr int kLines = 50000;
constexpr int kResets = 20;

class SyslogResets : public DeliveryTest {
 protected:
  // A server that resets its first connections, each after some tens of thousands of bytes.
  [[nodiscard]] static DoubleSettings Resetting() {
    DoubleSettings settings;
    settings.resets = kResets;
    settings.resetAfter = 40000;
    return settings;
  }

  // Sends all lines, and again what is stored: what has become of them.
  static Tally Deliver(const CollectorDouble& server) {
    WKSyslogSender sender;
    sender.SetSafeDelivery(true);
    Feed(sender, 0, kLines);
    EXPECT_TRUE(sender.WaitUntilEmpty(kDeadline));
    EXPECT_GT(sender.GetCounters().connectionsOpened, std::size_t{kResets});
    EXPECT_TRUE(Drain(sender));
    EXPECT_TRUE(sender.send(kMark));
    EXPECT_TRUE(WaitUntil([&] { return server.Text().ends_with(std::string(kMark) + "\n"); }));
    const Tally tally = CountLines(server.Text(), kLines);
    Record(tally, sender);
    EXPECT_EQ(0U, sender.GetCounters().dropped);
    return tally;
  }

  static void ExpectLittleLoss(const Tally& tally) {
    EXPECT_LE(tally.missingBytes, std::size_t{kResets} * 2 * kSocketBuffer);
    EXPECT_LE(tally.again, kResets * WKSyslogSender::BATCH_SIZE);
    EXPECT_LE(tally.torn, std::size_t{kResets});
  }
};

TEST_F(SyslogResets, LoseAtMostWhatTheSocketsHeldOverTcp) {
  const CollectorDouble server(Resetting());
  UseTcp(server.Port());
  ExpectLittleLoss(Deliver(server));
}

TEST_F(SyslogResets, LoseAtMostWhatTheSocketsHeldOverTls) {
  DoubleSettings settings = Resetting();
  settings.identity = authority_.Issue({.alternativeNames = "DNS:collector"});
  const CollectorDouble server(settings);
  UseTls(server.Port(), {.ca = authority_.Certificate()});
  ExpectLittleLoss(Deliver(server));
}

}  // namespace
}  // namespace wkagent::test
