// One pass over the batch files: which are sent, in which order, and what becomes of them.

#include <filesystem>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "support/open_files.h"
#include "support/private_root.h"
#include "syslog/retry_fixture.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kPrefix[] = "nsa_batch_20261115_082205_4711_";

std::string Name(int counter) { return kPrefix + std::to_string(counter) + ".log"; }

class SyslogRetryPass : public RetryTest {};

TEST_F(SyslogRetryPass, SendsEachLineAndRemovesTheFile) {
  PutBatchFile(Name(1), "a\nb \nc\r\n");
  EXPECT_EQ(PassSays(), "");
  EXPECT_THAT(recipient_.Offered(), ElementsAre("a", "b ", "c\r"));
  EXPECT_THAT(BatchFiles(), IsEmpty());
  EXPECT_EQ(handler_.RetriedCount(), 3U);
}

TEST_F(SyslogRetryPass, MissingFolderIsReported) {
  EXPECT_EQ(PassSays(), "Failed to open retry directory: /opt/mossgrove/auditdata/nsa\n");
  EXPECT_FALSE(std::filesystem::exists(kStore));
}

TEST_F(SyslogRetryPass, EmptyFolderIsNothingToSay) {
  std::filesystem::create_directory(kStore);
  EXPECT_EQ(PassSays(), "");
}

TEST_F(SyslogRetryPass, FollowsTheByteWiseOrderOfNames) {
  for (const char* name :
       {"20261115_082205_4711_2.log", "20261115_082205_4711_10.log", "20261114_235959_9_1.log",
        "a.txt", "Z.log", "20261115_082205_500_1.log"}) {
    PutBatchFile(std::string("nsa_batch_") + name, std::string(name) + '\n');
  }
  EXPECT_THAT(PassOffers(), ElementsAre("20261114_235959_9_1.log", "20261115_082205_4711_10.log",
                                        "20261115_082205_4711_2.log", "20261115_082205_500_1.log",
                                        "Z.log", "a.txt"));
}

TEST_F(SyslogRetryPass, SendsAHundredThousandFilesInOrder) {
  constexpr int kFiles = 100000;
  std::vector<std::string> lines;
  for (int number = kFiles; number < 2 * kFiles; ++number) lines.push_back(std::to_string(number));
  for (const std::string& line : lines) PutBatchFile("nsa_batch_" + line, line + '\n');
  EXPECT_EQ(PassOffers(), lines);
  EXPECT_THAT(BatchFiles(), IsEmpty());
}

TEST_F(SyslogRetryPass, TakesEveryNameWithThePrefixAndNoOther) {
  for (const char* name : {"nsa_batch_", "nsa_batch_old.txt", "nsa_batch_x.log.gz"}) {
    PutBatchFile(name, std::string(name) + '\n');
  }
  const std::vector<std::string> others = {".nsa_batch_x.log", "NSA_BATCH_x.log",
                                           "batch_x.log",      "nsa_batch",
                                           "nsa_batchx.log",   "xnsa_batch_x.log"};
  for (const std::string& name : others) PutBatchFile(name, "no\n");
  EXPECT_THAT(PassOffers(), ElementsAre("nsa_batch_", "nsa_batch_old.txt", "nsa_batch_x.log.gz"));
  EXPECT_EQ(BatchFiles(), others);
}

TEST_F(SyslogRetryPass, SkipsEmptyLines) {
  PutBatchFile(Name(1), "\n\na\n\nb\n\n");
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b"));
  EXPECT_THAT(BatchFiles(), IsEmpty());
  EXPECT_EQ(handler_.RetriedCount(), 2U);
}

TEST_F(SyslogRetryPass, RemovesAnEmptyFile) {
  PutBatchFile(Name(1), "");
  PutBatchFile(Name(2), "\n");
  EXPECT_THAT(PassOffers(), IsEmpty());
  EXPECT_THAT(BatchFiles(), IsEmpty());
}

TEST_F(SyslogRetryPass, SendsALastLineWithoutLineFeed) {
  PutBatchFile(Name(1), "a\nb");
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b"));
  EXPECT_THAT(BatchFiles(), IsEmpty());
}

TEST_F(SyslogRetryPass, KeepsAFileWhoseLastLineWithoutLineFeedIsRefused) {
  PutBatchFile(Name(1), "a\nb");
  recipient_.Refuse("b");
  EXPECT_EQ(PassSays(), "Retry failed for file: " + PathOf(Name(1)) + '\n');
  EXPECT_EQ(ContentOf(Name(1)), "a\nb");
}

TEST_F(SyslogRetryPass, SendsLongLinesAndAllBytes) {
  const std::string line = std::string(100000, 'x') + std::string("\0\xff", 2) + "end";
  PutBatchFile(Name(1), line + '\n');
  EXPECT_THAT(PassOffers(), ElementsAre(line));
}

TEST_F(SyslogRetryPass, RefusedLineKeepsTheFileWholeAndEndsThePass) {
  PutBatchFile(Name(1), "a\nb\nc\nd\n");
  PutBatchFile(Name(2), "e\n");
  recipient_.Refuse("c");
  EXPECT_EQ(PassSays(), "Retry failed for file: " + PathOf(Name(1)) + '\n');
  EXPECT_THAT(recipient_.Offered(), ElementsAre("a", "b", "c"));
  EXPECT_EQ(ContentOf(Name(1)), "a\nb\nc\nd\n");
  EXPECT_EQ(ContentOf(Name(2)), "e\n");
}

TEST_F(SyslogRetryPass, NextPassSendsAFileFromItsFirstLineAgain) {
  PutBatchFile(Name(1), "a\nb\nc\n");
  recipient_.Refuse("c");
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b", "c"));
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b", "c"));
  recipient_.RefuseNothing();
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b", "c"));
  EXPECT_THAT(BatchFiles(), IsEmpty());
  EXPECT_EQ(handler_.RetriedCount(), 7U);  // two, two and three
}

TEST_F(SyslogRetryPass, FilesBeforeTheRefusedOneAreGone) {
  PutBatchFile(Name(1), "a\n");
  PutBatchFile(Name(2), "b\n");
  recipient_.Refuse("b");
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b"));
  EXPECT_THAT(BatchFiles(), ElementsAre(Name(2)));
}

TEST_F(SyslogRetryPass, WithoutCallbackEveryFileIsRemoved) {
  handler_.setSenderCallback(nullptr);
  PutBatchFile(Name(1), "a\nb\n");
  PutBatchFile(Name(2), "c");
  EXPECT_EQ(PassSays(), "");
  EXPECT_THAT(BatchFiles(), IsEmpty());
  EXPECT_EQ(handler_.RetriedCount(), 0U);
}

TEST_F(SyslogRetryPass, UsesTheLatestCallback) {
  PutBatchFile(Name(1), "a\n");
  Recipient second;
  handler_.setSenderCallback([&](const std::string& line) { return second.Take(line); });
  EXPECT_THAT(PassOffers(), IsEmpty());
  EXPECT_THAT(second.Offered(), ElementsAre("a"));
}

TEST_F(SyslogRetryPass, LeavesOutTheFileBeingWritten) {
  Save({"current"});
  PutBatchFile("nsa_batch_0", "old\n");
  EXPECT_THAT(PassOffers(), ElementsAre("old"));
  EXPECT_EQ(StoredText(), "current\n");
}

TEST_F(SyslogRetryPass, LeavesOutTheFileWrittenLastAlsoWhenItIsClosed) {
  Save({"last"});
  handler_.shutdown();
  EXPECT_THAT(PassOffers(), IsEmpty());
  EXPECT_EQ(StoredText(), "last\n");
}

TEST_F(SyslogRetryPass, TakesTheCurrentFileWhereThatIsSwitchedOn) {
  Save({"a", "b"});
  handler_.SetRetryCurrentFile(true);
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b"));
  EXPECT_THAT(BatchFiles(), IsEmpty());
  Save({"c"});
  EXPECT_EQ(StoredText(), "c\n");
  EXPECT_EQ(Counter(), 2);
}

TEST_F(SyslogRetryPass, LeavesOutTheCurrentFileAgainWhenThatIsSwitchedOff) {
  handler_.SetRetryCurrentFile(true);
  Save({"a"});
  handler_.SetRetryCurrentFile(false);
  EXPECT_THAT(PassOffers(), IsEmpty());
  EXPECT_EQ(StoredText(), "a\n");
}

TEST_F(SyslogRetryPass, RefusedCurrentFileIsKept) {
  Save({"a", "b"});
  handler_.SetRetryCurrentFile(true);
  recipient_.Refuse("b");
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b"));
  Save({"c"});
  EXPECT_EQ(StoredText(), "a\nb\nc\n");
  EXPECT_EQ(BatchFiles().size(), 2U);
}

TEST_F(SyslogRetryPass, EntriesThatAreNoFilesAreReportedAndPassedOver) {
  std::filesystem::create_directories(kStore / Name(1));
  ASSERT_EQ(mkfifo(PathOf(Name(2)).c_str(), 0600), 0);
  std::filesystem::create_symlink(kStore / "loop", kStore / "loop");
  std::filesystem::create_symlink(kStore / "loop", kStore / Name(3));
  PutBatchFile(Name(4), "a\n");
  EXPECT_EQ(PassSays(), "Failed to open retry file: " + PathOf(Name(1)) +
                            "\nFailed to open retry file: " + PathOf(Name(2)) +
                            "\nFailed to open retry file: " + PathOf(Name(3)) + '\n');
  EXPECT_THAT(recipient_.Offered(), ElementsAre("a"));
  EXPECT_THAT(BatchFiles(), ElementsAre("loop", Name(1), Name(2), Name(3)));
}

TEST_F(SyslogRetryPass, FollowsALink) {
  WriteFile(kAuditData / "elsewhere", "a\n");
  std::filesystem::create_directory(kStore);
  std::filesystem::create_symlink(kAuditData / "elsewhere", kStore / Name(1));
  EXPECT_THAT(PassOffers(), ElementsAre("a"));
  EXPECT_THAT(BatchFiles(), IsEmpty());
  EXPECT_EQ(ReadFile(kAuditData / "elsewhere"), "a\n");
}

TEST_F(SyslogRetryPass, FileThatCannotBeRemovedIsReportedAndSentAgain) {
  PutBatchFile(Name(1), "a\n");
  PutBatchFile(Name(2), "b\n");
  MountReadOnly(kStore);
  const std::string expected = "Failed to delete file: " + PathOf(Name(1)) +
                               "\nFailed to delete file: " + PathOf(Name(2)) + '\n';
  EXPECT_EQ(PassSays(), expected);
  EXPECT_EQ(PassSays(), expected);
  Unmount(kStore);
  EXPECT_THAT(recipient_.Offered(), ElementsAre("a", "b", "a", "b"));
  EXPECT_EQ(PassSays(), "");
  EXPECT_THAT(BatchFiles(), IsEmpty());
}

TEST_F(SyslogRetryPass, LeavesNoFileOpen) {
  PutBatchFile(Name(1), "a\n");
  PutBatchFile(Name(2), "b\n");
  recipient_.Refuse("b");
  (void)PassOffers();
  const long files = OpenFiles();
  (void)PassOffers();
  EXPECT_EQ(OpenFiles(), files);
}

}  // namespace
}  // namespace wkagent::test
