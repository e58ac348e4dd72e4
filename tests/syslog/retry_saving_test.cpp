// Lines that are saved to batch files.

#include <ctime>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "support/local_time.h"
#include "syslog/open_paths.h"
#include "syslog/retry_fixture.h"

namespace wkagent::test {
namespace {

using testing::IsEmpty;

constexpr int kMost = WKSyslogRetryHandler::MAX_LINES_PER_BATCH_FILE;
static_assert(kMost == 5000);
static_assert(WKSyslogRetryHandler::RETRY_INTERVAL == 300);

// The last part of a batch file's name, which counts.
std::string NumberOf(const std::string& name) {
  const std::size_t begin = name.rfind('_') + 1;
  return name.substr(begin, name.rfind('.') - begin);
}

unsigned ModeOf(const std::filesystem::path& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

// Sets the mask of modes while it lives.
class Mask {
 public:
  explicit Mask(mode_t mask) : before_(umask(mask)) {}
  ~Mask() { umask(before_); }
  Mask(const Mask&) = delete;
  Mask& operator=(const Mask&) = delete;

 private:
  const mode_t before_;
};

class SyslogRetrySaving : public RetryTest {
 protected:
  // A file in the folder's place, so that no batch file can be opened.
  static void BlockStore() {
    std::filesystem::remove_all(kStore);
    WriteFile(kStore, "");
  }
  static void UnblockStore() { std::filesystem::remove(kStore); }
};

TEST_F(SyslogRetrySaving, StoreIsWhereItIsExpected) {
  EXPECT_STREQ(WKSyslogRetryHandler::RETRY_DIRECTORY, "/opt/mossgrove/auditdata/nsa");
}

TEST_F(SyslogRetrySaving, NothingIsMadeBeforeTheFirstLine) {
  EXPECT_FALSE(FileIsOpen());
  EXPECT_EQ(CurrentPath(), "");
  EXPECT_EQ(Counter(), 0);
  EXPECT_EQ(LinesInBatch(), 0);
  EXPECT_FALSE(std::filesystem::exists(kStore));
}

TEST_F(SyslogRetrySaving, FileIsNamedForTimeProcessAndCounter) {
  const TimeZone zone("XYZ-5:30");
  const std::time_t begin = std::time(nullptr);
  Save({"a"});
  const std::string name = BatchFiles().at(0);
  const std::string format = "nsa_batch_%Y%m%d_%H%M%S_" + std::to_string(getpid()) + "_1.log";
  EXPECT_TRUE(IsStampSince(begin, name, format.c_str())) << name;
  EXPECT_EQ(CurrentPath(), PathOf(name));
}

TEST_F(SyslogRetrySaving, LinesStandAsTheyAreEachWithALineFeed) {
  Save({"a", "", " b\t", "\xff\xc3", "c\nd", std::string("e\0f", 3), "g\r"});
  ASSERT_EQ(BatchFiles().size(), 1U);
  EXPECT_EQ(StoredText(), std::string("a\n\n b\t\n\xff\xc3\nc\nd\ne\0f\ng\r\n", 21));
  EXPECT_EQ(LinesInBatch(), 7);
  EXPECT_EQ(Counter(), 1);
}

TEST_F(SyslogRetrySaving, EachLineIsInTheFileWhenTheCallReturns) {
  Save({"a"});
  EXPECT_EQ(StoredText(), "a\n");
  Save({"b"});
  EXPECT_EQ(StoredText(), "a\nb\n");
}

TEST_F(SyslogRetrySaving, FileIsNobodyElsesBusiness) {
  const Mask mask(0);
  Save({"a"});
  EXPECT_EQ(ModeOf(kStore / BatchFiles().at(0)), 0600U);
  EXPECT_TRUE(IsOpenForThisProcessOnly(kStore));
}

TEST_F(SyslogRetrySaving, FolderIsMadeAsTheMaskAllows) {
  for (const mode_t mask : {0000U, 0022U, 0077U}) {
    const Mask scope(mask);
    std::filesystem::remove_all(kStore);
    Save({"a"});
    EXPECT_EQ(ModeOf(kStore), 0777U & ~mask);
  }
}

TEST_F(SyslogRetrySaving, FolderThatIsThereKeepsItsMode) {
  std::filesystem::create_directory(kStore);
  std::filesystem::permissions(kStore, std::filesystem::perms::owner_all);
  Save({"a"});
  EXPECT_EQ(ModeOf(kStore), 0700U);
}

TEST_F(SyslogRetrySaving, ParentsOfTheFolderAreNotMade) {
  std::filesystem::remove(kAuditData);
  const std::string said = RetrySays([this] { EXPECT_FALSE(handler_.saveToBatchFile("a")); });
  EXPECT_FALSE(std::filesystem::exists(kAuditData));
  EXPECT_EQ(said, "Failed to open file: " + CurrentPath() + '\n');
  EXPECT_THAT(CurrentPath(), testing::EndsWith("_1.log"));
  std::filesystem::create_directory(kAuditData);
}

TEST_F(SyslogRetrySaving, FailedOpeningCountsAndTheNextCallTriesAgain) {
  BlockStore();
  for (int attempt = 1; attempt <= 3; ++attempt) {
    const std::string said = RetrySays([this] { EXPECT_FALSE(handler_.saveToBatchFile("lost")); });
    EXPECT_EQ(Counter(), attempt);
    EXPECT_EQ(NumberOf(CurrentPath()), std::to_string(attempt));
    EXPECT_EQ(said, "Failed to open file: " + CurrentPath() + '\n');
  }
  UnblockStore();
  Save({"kept"});
  EXPECT_EQ(NumberOf(BatchFiles().at(0)), "4");
  EXPECT_EQ(StoredText(), "kept\n");
}

TEST_F(SyslogRetrySaving, Line5001OpensTheSecondFile) {
  Save(Numbered("line", kMost));
  EXPECT_EQ(BatchFiles().size(), 1U);
  EXPECT_EQ(LinesInBatch(), kMost);
  Save({"one more"});
  const std::vector<std::string> names = BatchFiles();
  ASSERT_EQ(names.size(), 2U);
  EXPECT_EQ(NumberOf(names[1]), "2");
  EXPECT_EQ(ContentOf(names[0]), Text(Numbered("line", kMost)));
  EXPECT_EQ(ContentOf(names[1]), "one more\n");
  EXPECT_EQ(LinesInBatch(), 1);
  EXPECT_EQ(CurrentPath(), PathOf(names[1]));
}

TEST_F(SyslogRetrySaving, FullFileIsClosedAtTheNextSaveAndCanBeSentThen) {
  Save(Numbered("line", kMost));
  EXPECT_THAT(PassOffers(), IsEmpty());
  Save({"one more"});
  EXPECT_EQ(PassOffers(), Numbered("line", kMost));
  EXPECT_EQ(StoredText(), "one more\n");
}

TEST_F(SyslogRetrySaving, FullFileWhoseSuccessorCannotBeOpenedIsNotWrittenAgain) {
  Save(Numbered("line", kMost));
  const std::filesystem::path aside = kAuditData / "aside";
  std::filesystem::rename(kStore, aside);
  BlockStore();
  RetrySays([this] { EXPECT_FALSE(handler_.saveToBatchFile("lost")); });
  UnblockStore();
  std::filesystem::rename(aside, kStore);
  Save({"kept"});
  const std::vector<std::string> names = BatchFiles();
  ASSERT_EQ(names.size(), 2U);
  EXPECT_EQ(ContentOf(names[0]), Text(Numbered("line", kMost)));
  EXPECT_EQ(NumberOf(names[1]), "3");
  EXPECT_EQ(ContentOf(names[1]), "kept\n");
}

TEST_F(SyslogRetrySaving, FileThatSomebodyRemovedIsReplaced) {
  Save({"gone"});
  std::filesystem::remove(CurrentPath());
  Save({"kept"});
  EXPECT_EQ(StoredText(), "kept\n");
  EXPECT_EQ(NumberOf(BatchFiles().at(0)), "2");
}

TEST_F(SyslogRetrySaving, FolderThatSomebodyRemovedIsReplaced) {
  Save({"gone"});
  std::filesystem::remove_all(kStore);
  Save({"kept"});
  EXPECT_EQ(StoredText(), "kept\n");
}

TEST_F(SyslogRetrySaving, FileIsClosedByShutdownAndReplacedAfterwards) {
  Save({"a"});
  handler_.shutdown();
  EXPECT_FALSE(FileIsOpen());
  EXPECT_THAT(DescriptorsOf(kStore), IsEmpty());
  Save({"b"});
  const std::vector<std::string> names = BatchFiles();
  ASSERT_EQ(names.size(), 2U);
  EXPECT_EQ(NumberOf(names[1]), "2");
  EXPECT_EQ(StoredText(), "a\nb\n");
}

TEST_F(SyslogRetrySaving, ThreadsSaveWholeLinesEachOnce) {
  std::vector<std::thread> threads;
  for (const char* word : {"red", "green", "blue", "black"}) {
    threads.emplace_back([this, word] { Save(Numbered(word, 1500)); });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_EQ(BatchFiles().size(), 2U);
  std::istringstream text(StoredText());
  std::map<std::string, std::vector<std::string>> lines;
  for (std::string line; std::getline(text, line);) {
    lines[line.substr(0, line.find(' '))].push_back(line);
  }
  for (const char* word : {"red", "green", "blue", "black"}) {
    EXPECT_EQ(lines[word], Numbered(word, 1500));
  }
  EXPECT_THAT(lines, testing::SizeIs(4));
}

}  // namespace
}  // namespace wkagent::test
