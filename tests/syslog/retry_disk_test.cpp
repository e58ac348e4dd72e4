// Batch files on a disk that is full or read-only.

#include <filesystem>
#include <string>
#include <vector>

#include "support/private_root.h"
#include "syslog/retry_fixture.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class SyslogRetryDisk : public RetryTest {
 protected:
  static constexpr std::size_t kDiskSize = 32768;
  static constexpr std::size_t kSomeRoom = 8192;
  static constexpr std::size_t kLineSize = 999;  // with its line feed; no divisor of the room

  SyslogRetryDisk() { MountTmpfs(kAuditData, "size=" + std::to_string(kDiskSize)); }
  ~SyslogRetryDisk() override {
    handler_.shutdown();
    Unmount(kAuditData);
  }

  static void FillDisk(std::size_t leaving) {
    WriteFile(kAuditData / "filler", std::string(kDiskSize - leaving, 'x'));
  }
  static void FreeDisk() { std::filesystem::remove(kAuditData / "filler"); }

  // Saves lines until one is refused; those that were taken.
  std::vector<std::string> SaveUntilFull() {
    std::vector<std::string> taken;
    do {
      taken.push_back(std::to_string(taken.size()));
      taken.back().resize(kLineSize - 1, '.');
    } while (handler_.saveToBatchFile(taken.back()));
    taken.pop_back();
    return taken;
  }
};

TEST_F(SyslogRetryDisk, FullOneIsReportedAndCutToWholeLines) {
  FillDisk(kSomeRoom);
  std::vector<std::string> taken;
  const std::string said = RetrySays([&] { taken = SaveUntilFull(); });
  EXPECT_EQ(said, "Failed to write file: " + CurrentPath() + '\n');
  EXPECT_THAT(taken, SizeIs(8));
  EXPECT_EQ(ReadFile(CurrentPath()), Text(taken));
  EXPECT_EQ(LinesInBatch(), 8);
  EXPECT_FALSE(FileIsOpen());
}

TEST_F(SyslogRetryDisk, LineThatFitsNowhereLeavesNoFile) {
  FillDisk(0);
  for (int attempt = 1; attempt <= 2; ++attempt) {
    const std::string said = RetrySays([this] { EXPECT_FALSE(handler_.saveToBatchFile("lost")); });
    EXPECT_EQ(said, "Failed to write file: " + CurrentPath() + '\n');
    EXPECT_EQ(Counter(), attempt);
    EXPECT_THAT(BatchFiles(), IsEmpty());
  }
}

TEST_F(SyslogRetryDisk, LineLargerThanTheDiskLeavesTheLinesBeforeIt) {
  Save({"before"});
  RetrySays([this] { EXPECT_FALSE(handler_.saveToBatchFile(std::string(100000, 'x'))); });
  EXPECT_EQ(StoredText(), "before\n");
  Save({"after"});
  EXPECT_EQ(StoredText(), "before\nafter\n");
}

TEST_F(SyslogRetryDisk, WithSpaceAgainTheNextLineGoesToANewFile) {
  FillDisk(kSomeRoom);
  std::vector<std::string> taken;
  RetrySays([&] { taken = SaveUntilFull(); });
  FreeDisk();
  Save({"after"});
  EXPECT_EQ(BatchFiles().size(), 2U);
  EXPECT_EQ(StoredText(), Text(taken) + "after\n");
  EXPECT_EQ(PassOffers(), taken);
  EXPECT_EQ(StoredText(), "after\n");
}

TEST_F(SyslogRetryDisk, WithoutInodesNoFileIsOpened) {
  Unmount(kAuditData);
  MountTmpfs(kAuditData, "nr_inodes=2");
  const std::string said = RetrySays([this] { EXPECT_FALSE(handler_.saveToBatchFile("lost")); });
  EXPECT_EQ(said, "Failed to open file: " + CurrentPath() + '\n');
}

TEST_F(SyslogRetryDisk, ReadOnlyOneTakesNothing) {
  std::filesystem::create_directory(kStore);
  MountReadOnly(kStore);
  const std::string said = RetrySays([this] { EXPECT_FALSE(handler_.saveToBatchFile("lost")); });
  EXPECT_EQ(said, "Failed to open file: " + CurrentPath() + '\n');
  Unmount(kStore);
  Save({"kept"});
  EXPECT_EQ(StoredText(), "kept\n");
}

TEST_F(SyslogRetryDisk, PassWorksOnAFullOne) {
  Save({"a", "b"});
  handler_.SetRetryCurrentFile(true);
  FillDisk(0);
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b"));
  EXPECT_THAT(BatchFiles(), IsEmpty());
}

}  // namespace
}  // namespace wkagent::test
