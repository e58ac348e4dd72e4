// Collectors that are killed, again and again, while lines are on their way.

#include <algorithm>
#include <set>

#include "collectors/delivery_fixture.h"
#include "collectors/paced_feed.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

constexpr int kLines = Scaled(200000);
constexpr int kKills = 20;
constexpr int kSlice = kLines / (kKills + 1);

class SyslogKills : public CollectorTest {
 protected:
  // Kills the collector in the middle of the first half of a slice of the lines, and starts it
  // again when the sender has stored some of the second half.
  static void KillOnce(WKSyslogSender& sender, CollectorProgram& collector, PacedFeed& feed,
                       int slice) {
    const std::size_t enough = collector.TextSize() + std::size_t{kSlice} * 64;
    feed.Allow(slice * kSlice + kSlice / 2);
    ASSERT_TRUE(WaitUntil([&] { return collector.TextSize() >= enough; }));
    collector.Kill();
    const std::uint64_t before = sender.GetCounters().stored;
    feed.Allow(slice * kSlice + kSlice);
    ASSERT_TRUE(WaitUntil([&] { return sender.GetCounters().stored > before; }));
    collector.StartAgain();
  }

  static void FeedAndKill(WKSyslogSender& sender, CollectorProgram& collector) {
    PacedFeed feed(sender);
    for (int slice = 0; slice < kKills; ++slice) KillOnce(sender, collector, feed, slice);
    feed.Allow(kLines);
    ASSERT_TRUE(feed.WaitForEnd());
    ASSERT_TRUE(sender.WaitUntilEmpty(kDeadline));
  }

  static std::set<int> StoredNumbers() {
    std::set<int> numbers;
    for (const std::string& line : StoredLines()) numbers.insert(NumberOf(line));
    return numbers;
  }

  // Lines are lost only in what a broken connection held: two socket buffers, and what the
  // collector had read and not yet written.
  static void ExpectAccountedFor(const Tally& tally, const std::set<int>& stored) {
    constexpr std::size_t kCollectorHolds = 128 * 1024;
    for (const int number : tally.missing) EXPECT_EQ(0U, stored.count(number)) << number;
    EXPECT_LE(tally.missingBytes, kKills * (2 * kSocketBuffer + kCollectorHolds));
    EXPECT_LE(tally.again, kKills * WKSyslogSender::BATCH_SIZE);
    EXPECT_LE(tally.torn, std::size_t{kKills});
  }

  void ExpectLittleLoss(Transport transport) {
    CollectorProgram collector = Start(transport);
    WKSyslogSender sender;
    sender.SetSafeDelivery(true);
    FeedAndKill(sender, collector);
    const std::set<int> stored = StoredNumbers();
    EXPECT_EQ(stored.size(), sender.GetCounters().stored);
    ASSERT_TRUE(Drain(sender));
    ASSERT_TRUE(WaitForMark(sender, collector));
    const Tally tally = CountLines(collector.Text(), kLines);
    Record(tally, sender);
    ExpectAccountedFor(tally, stored);
    EXPECT_EQ(0U, sender.GetCounters().dropped);
    EXPECT_GE(stored.size(), std::size_t{kKills});
  }
};

INSTANTIATE_FOR_COLLECTORS(SyslogKills);

TEST_P(SyslogKills, LoseNoLineOverTcpThatTheSenderKnowsOf) { ExpectLittleLoss(Transport::kTcp); }

TEST_P(SyslogKills, LoseNoLineOverTlsThatTheSenderKnowsOf) { ExpectLittleLoss(Transport::kTls); }

}  // namespace
}  // namespace wkagent::test
