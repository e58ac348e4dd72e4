// Lines that are saved together are saved as if one by one.

#include <filesystem>
#include <string>
#include <vector>

#include "support/private_root.h"
#include "syslog/retry_fixture.h"

namespace wkagent::test {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

constexpr int kMost = WKSyslogRetryHandler::MAX_LINES_PER_BATCH_FILE;

class SyslogRetryLines : public RetryTest {
 protected:
  // Lines of a thousand bytes with their line feeds.
  static std::vector<std::string> LongLines(int count) {
    std::vector<std::string> lines = Numbered("line", count);
    for (std::string& line : lines) line.resize(999, '.');
    return lines;
  }
};

TEST_F(SyslogRetryLines, AreInTheFileWhenTheCallReturns) {
  const std::vector<std::string> lines = {"a", "", "b\nc", std::string(100000, 'x'), "d"};
  EXPECT_EQ(handler_.SaveLines(lines), 5U);
  EXPECT_EQ(StoredText(), Text(lines));
  EXPECT_EQ(LinesInBatch(), 5);
  EXPECT_EQ(Counter(), 1);
}

TEST_F(SyslogRetryLines, OfNoneIsNothing) {
  EXPECT_EQ(handler_.SaveLines({}), 0U);
  EXPECT_FALSE(std::filesystem::exists(kStore));
}

TEST_F(SyslogRetryLines, GoToANewFileAfterTheMost) {
  Save(Numbered("line", 1));
  const std::vector<std::string> lines = Numbered("line", kMost + 1);
  EXPECT_EQ(handler_.SaveLines({lines.data() + 1, lines.size() - 1}), lines.size() - 1);
  ASSERT_THAT(BatchFiles(), SizeIs(2));
  EXPECT_EQ(StoredText(), Text(lines));
  EXPECT_EQ(ReadFile(CurrentPath()), Text({lines.back()}));
  EXPECT_EQ(LinesInBatch(), 1);
  EXPECT_EQ(Counter(), 2);
}

TEST_F(SyslogRetryLines, OnADiskThatFillsUpAreWhole) {
  MountTmpfs(kAuditData, "size=32k");
  const std::vector<std::string> lines = LongLines(60);
  const std::string said = RetrySays([&] { EXPECT_EQ(handler_.SaveLines(lines), 32U); });
  EXPECT_EQ(said, "Failed to write file: " + CurrentPath() + '\n');
  EXPECT_EQ(StoredText(), Text({lines.begin(), lines.begin() + 32}));
  EXPECT_EQ(LinesInBatch(), 32);
  EXPECT_FALSE(FileIsOpen());
  handler_.shutdown();
  Unmount(kAuditData);
}

TEST_F(SyslogRetryLines, WithoutAFileAreReportedOnce) {
  WriteFile(kStore, "no folder");
  const std::string said =
      RetrySays([&] { EXPECT_EQ(handler_.SaveLines(Numbered("line", 3)), 0U); });
  EXPECT_EQ(said, "Failed to open file: " + CurrentPath() + '\n');
  EXPECT_EQ(Counter(), 1);
}

TEST_F(SyslogRetryLines, SeeThatTheFolderHasBeenMoved) {
  const std::filesystem::path moved = kAuditData / "moved";
  Save({"before"});
  std::filesystem::rename(kStore, moved);
  Save({"after"});
  EXPECT_TRUE(std::filesystem::is_directory(kStore));
  EXPECT_THAT(BatchFiles(), IsEmpty());
  EXPECT_EQ(ReadFile(moved / std::filesystem::path(CurrentPath()).filename()), "before\nafter\n");
  std::filesystem::remove_all(moved);
}

TEST_F(SyslogRetryLines, SeeThatTheFileHasBeenReplaced) {
  Save({"before"});
  std::filesystem::remove(CurrentPath());
  WriteFile(CurrentPath(), "somebody else's\n");
  Save({"after"});
  EXPECT_EQ(Counter(), 2);
  EXPECT_EQ(ReadFile(CurrentPath()), "after\n");
}

}  // namespace
}  // namespace wkagent::test
