// A time of day that is set while lines are on their way.

#include <chrono>

#include "collectors/delivery_fixture.h"
#include "collectors/stepped_clock.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

constexpr std::chrono::hours kDay(24);
constexpr int kLines = 3000;

class SyslogClock : public CollectorTest {
 protected:
  // Stores lines while the collector is down, sets the clock, and waits until the retry thread has
  // delivered them to the collector that is up again.
  void ExpectRetryAfterStep(std::chrono::seconds step) {
    const ShortWaits waits;
    CollectorProgram collector = Start(Transport::kTcp);
    collector.Stop();
    WKSyslogSender sender;
    sender.SetSafeDelivery(true);
    Feed(sender, 0, kLines);
    ASSERT_TRUE(sender.WaitUntilEmpty(kDeadline));
    ASSERT_EQ(static_cast<std::size_t>(kLines), StoredLines().size());
    clock_.Step(step);
    collector.StartAgain();
    EXPECT_TRUE(WaitUntil([] { return StoredLines().empty(); }));
    ASSERT_TRUE(WaitForMark(sender, collector));
    EXPECT_EQ(0U, CountLines(collector.Text(), kLines).Lost());
  }

  SteppedClock clock_;
};

INSTANTIATE_FOR_COLLECTORS(SyslogClock);

TEST_P(SyslogClock, LinesArriveOnceAndInOrderWhileItIsSet) {
  const CollectorProgram collector = Start(Transport::kTcp);
  WKSyslogSender sender;
  Feed(sender, 0, kLines / 3);
  clock_.Step(kDay);
  Feed(sender, kLines / 3, 2 * kLines / 3);
  clock_.Step(-2 * kDay);
  Feed(sender, 2 * kLines / 3, kLines);
  ASSERT_TRUE(sender.WaitUntilEmpty(kDeadline));
  ASSERT_TRUE(WaitForMark(sender, collector));
  const Tally tally = CountLines(collector.Text(), kLines);
  EXPECT_EQ(0U, tally.Lost() + tally.again + tally.torn);
  EXPECT_TRUE(tally.inOrder);
}

TEST_P(SyslogClock, StoredLinesAreRetriedAfterItWasSetBack) { ExpectRetryAfterStep(-kDay); }

TEST_P(SyslogClock, StoredLinesAreRetriedAfterItWasSetForward) { ExpectRetryAfterStep(kDay); }

}  // namespace
}  // namespace wkagent::test
