// Collectors that stop reading or break connections, and stores that take no lines, while delivery
// is safe.

#include <filesystem>
#include <optional>

#include <sys/mount.h>

#include "collectors/delivery_fixture.h"
#include "collectors/socket_table.h"
#include "collectors/stepped_clock.h"
#include "support/private_root.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::StartsWith;

// A disk of this size for what cannot be delivered, as long as it lives.
class AuditDisk {
 public:
  AuditDisk(std::string path, const std::string& size) : path_(std::move(path)) {
    MountTmpfs(path_, "size=" + size);
  }
  // What is still open there goes with it.
  ~AuditDisk() { umount2(path_.c_str(), MNT_DETACH); }
  AuditDisk(const AuditDisk&) = delete;
  AuditDisk& operator=(const AuditDisk&) = delete;

 private:
  const std::string path_;
};

class SyslogFaults : public CollectorTest {
 protected:
  static constexpr int kLines = 20000;  // several times what the sockets hold

  SyslogFaults() : collector_(Start(Transport::kTcp)) {}

  // Makes the sender, now that the test has set the scene.
  WKSyslogSender& Sender() {
    if (!sender_) sender_.emplace().SetSafeDelivery(true);
    return *sender_;
  }

  // Halts the collector over a connection that works, and sends it all lines.
  void FreezeAndFeed() {
    Feed(Sender(), 0, 10);
    ASSERT_TRUE(WaitForMark(Sender(), collector_));
    collector_.Freeze();
    Feed(Sender(), 10, kLines);
  }

  // Waits until the store refuses a line.
  void StopAndFeed(int lines) {
    collector_.Stop();
    Feed(Sender(), 0, lines);
    ASSERT_TRUE(WaitUntil([] { return !RetryDiagnostics().empty(); }));
  }

  // Waits until so many lines are with the collector: what it has.
  Tally DeliverAll(int lines) {
    EXPECT_TRUE(Drain(Sender()));
    EXPECT_TRUE(WaitForMark(Sender(), collector_));
    Tally tally = CountLines(collector_.Text(), lines);
    Record(tally, Sender());
    EXPECT_EQ(0U, tally.Lost());
    EXPECT_EQ(0U, Sender().GetCounters().dropped);
    return tally;
  }

  CollectorProgram collector_;
  std::optional<WKSyslogSender> sender_;
};

INSTANTIATE_FOR_COLLECTORS(SyslogFaults);

TEST_P(SyslogFaults, CollectorThatPausesGetsEveryLineOnceAndInOrder) {
  FreezeAndFeed();
  ASSERT_TRUE(WaitUntil([this] { return FindConnectionTo(collector_.Port()).value().unsent > 0; }));
  EXPECT_LT(Sender().GetCounters().sent, static_cast<std::size_t>(kLines));
  collector_.Thaw();
  const Tally tally = DeliverAll(kLines);
  EXPECT_EQ(0U, tally.again + tally.torn + Sender().GetCounters().stored);
  EXPECT_TRUE(tally.inOrder);
}

TEST_P(SyslogFaults, CollectorThatPausesLongerThanAWriteMayTakeGetsEveryLine) {
  const ShortLimits limits;
  FreezeAndFeed();
  ASSERT_TRUE(WaitUntil([] { return !Diagnostics().empty(); }));
  EXPECT_THAT(Diagnostics(),
              StartsWith("Batch send failed (TCP): Resource temporarily unavailable\n"));
  collector_.Thaw();
  const Tally tally = DeliverAll(kLines);
  // The system may have taken a part of each write that failed.
  const std::size_t failures = Sender().GetCounters().connectionsOpened - 1;
  EXPECT_GT(failures, 0U);
  EXPECT_LE(tally.again, failures * WKSyslogSender::BATCH_SIZE);
  EXPECT_LE(tally.torn, failures);
}

TEST_P(SyslogFaults, FullStoreKeepsLinesQueuedUntilTheCollectorIsBack) {
  const AuditDisk disk(kAuditData, "128k");
  StopAndFeed(5000);
  EXPECT_THAT(RetryDiagnostics(),
              StartsWith("Failed to write file: /opt/mossgrove/auditdata/nsa/nsa_batch_"));
  EXPECT_GT(StoredLines().size(), 0U);
  EXPECT_LT(StoredLines().size(), 5000U);
  collector_.StartAgain();
  EXPECT_EQ(0U, DeliverAll(5000).torn);
}

TEST_P(SyslogFaults, MissingStoreKeepsLinesQueuedUntilTheCollectorIsBack) {
  std::filesystem::remove_all(kAuditData);
  StopAndFeed(1000);
  EXPECT_THAT(RetryDiagnostics(),
              StartsWith("Failed to open file: /opt/mossgrove/auditdata/nsa/nsa_batch_"));
  collector_.StartAgain();
  EXPECT_EQ(0U, DeliverAll(1000).torn);
  EXPECT_EQ(0U, Sender().GetCounters().stored);
}

}  // namespace
}  // namespace wkagent::test
