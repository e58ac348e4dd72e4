// The store of lines that could not be sent: on a disk without inodes, and with a great many files.

#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>

#include <sys/mount.h>
#include <unistd.h>

#include "collectors/collector_double.h"
#include "collectors/delivery_fixture.h"
#include "support/collector.h"
#include "support/memory.h"
#include "support/private_root.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;

class SyslogStore : public DeliveryTest {
 protected:
  ~SyslogStore() override { umount2(kAuditData, MNT_DETACH); }

  // A disk of this test's for what cannot be delivered.
  static void UseDisk(const std::string& options) { MountTmpfs(kAuditData, options); }

  static void ChangeDisk(const std::string& options) {
    RequireMounted(mount(nullptr, kAuditData, nullptr, MS_REMOUNT, options.c_str()), options);
  }

  // Files that earlier processes have left, a line each.
  static void WriteFiles(int count) {
    std::filesystem::create_directories(kRetryDirectory);
    for (int number = 0; number < count; ++number) {
      std::ostringstream path;
      path << kRetryDirectory << "/nsa_batch_20260101_" << std::setw(6) << std::setfill('0')
           << number << "_1_1.log";
      std::ofstream(path.str()) << NumberedLine(number) << '\n';
    }
  }
};

TEST_F(SyslogStore, WithoutInodesKeepsLinesQueuedUntilThereAreSome) {
  UseDisk("nr_inodes=2");  // the folder and the one in it
  const RefusingPort nobody;
  UseTcp(nobody.Port());
  WKSyslogSender sender;
  sender.SetSafeDelivery(true);
  Feed(sender, 0, 1000);
  ASSERT_TRUE(WaitUntil([] { return !RetryDiagnostics().empty(); }));
  EXPECT_THAT(RetryDiagnostics(), HasSubstr("Failed to open file: "));
  ChangeDisk("nr_inodes=20");
  EXPECT_TRUE(sender.WaitUntilEmpty(kDeadline));
  EXPECT_EQ(1000U, StoredLines().size());
  EXPECT_EQ(1000U, sender.GetCounters().stored);
}

TEST_F(SyslogStore, OfManyFilesIsSentInItsOrder) {
  constexpr int kFiles = Scaled(20000);
  UseDisk("size=1g");
  WriteFiles(kFiles);
  const CollectorDouble collector(DoubleSettings{});
  UseTcp(collector.Port());
  WKSyslogSender sender;
  sender.SetSafeDelivery(true);
  EXPECT_TRUE(Drain(sender));
  ASSERT_TRUE(WaitUntil([&] { return CountLines(collector.Text(), kFiles).Lost() == 0; }));
  const Tally tally = CountLines(collector.Text(), kFiles);
  EXPECT_TRUE(tally.inOrder);
  EXPECT_EQ(0U, tally.again);
  EXPECT_LT(PeakMemoryOf(getpid()), MostMemory(64 * 1024));
}

}  // namespace
}  // namespace wkagent::test
