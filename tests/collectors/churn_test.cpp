// Hosts that make and end senders all the time, ten at once.

#include <filesystem>
#include <iterator>
#include <thread>

#include "collectors/delivery_fixture.h"
#include "support/open_files.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

constexpr int kThreads = 10;
constexpr int kRounds = Scaled(200);
constexpr int kBurst = 25;  // lines of each sender
constexpr int kLines = kThreads * kRounds * kBurst;

long Threads() { return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}); }

class SyslogChurn : public DeliveryTest {
 protected:
  // One thread's part: senders that end as soon as they have got their lines, every other one while
  // it still has some.
  static void MakeAndEndSenders(int thread) {
    for (int round = 0; round < kRounds; ++round) {
      WKSyslogSender sender;
      sender.SetSafeDelivery(true);
      const int first = (thread * kRounds + round) * kBurst;
      Feed(sender, first, first + kBurst);
      if (round % 2 == 0) {
        EXPECT_TRUE(sender.WaitUntilEmpty(kDeadline));
      }
    }
  }

  void ExpectNothingLeftBehind(Program program, Transport transport) {
    const CollectorProgram collector = Start(program, transport);
    { const WKSyslogSender first; }
    const long files = OpenFiles();
    const long threads = Threads();
    {
      std::vector<std::jthread> hosts;
      for (int i = 0; i < kThreads; ++i) hosts.emplace_back([i] { MakeAndEndSenders(i); });
    }
    EXPECT_EQ(files, OpenFiles());
    EXPECT_TRUE(WaitUntil([threads] { return Threads() == threads; })) << Threads();
    ExpectEveryLine(collector);
  }

  static void ExpectEveryLine(const CollectorProgram& collector) {
    WKSyslogSender sender;
    sender.SetSafeDelivery(true);
    ASSERT_TRUE(Drain(sender));
    EXPECT_TRUE(WaitUntil([&] { return CountLines(collector.Text(), kLines).Lost() == 0; }));
    const Tally tally = CountLines(collector.Text(), kLines);
    Record(tally, sender);
    EXPECT_EQ(0U, tally.Lost());
    EXPECT_EQ(0U, tally.torn);
  }
};

TEST_F(SyslogChurn, LeavesNothingBehindOverTcpToRsyslog) {
  ExpectNothingLeftBehind(Program::kRsyslog, Transport::kTcp);
}

TEST_F(SyslogChurn, LeavesNothingBehindOverTcpToSyslogNg) {
  ExpectNothingLeftBehind(Program::kSyslogNg, Transport::kTcp);
}

// Not to rsyslog: 8.2302 closes the descriptor of a TLS session twice, and so now and then the
// session of the client that has come meanwhile.
TEST_F(SyslogChurn, LeavesNothingBehindOverTlsToSyslogNg) {
  ExpectNothingLeftBehind(Program::kSyslogNg, Transport::kTls);
}

}  // namespace
}  // namespace wkagent::test
