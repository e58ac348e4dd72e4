// SetDurability: when records and names reach the disk, by the calls that are made for it.

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#include "output/disk_calls.h"
#include "output/output_fixture.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr char kUnfinished[] =
    "<?xml version=\"1.0\"?>\n<EDAuditData>\n  <EDADataRecords>\n    <Record Number=\"1\"/>\n";

class Durability : public OutputTest {
 protected:
  // Opens the live file with this durability, and forgets the calls that were needed for it.
  void Open(int records, int milliseconds, bool safe = true) {
    output_.SetSafeArchive(safe);
    output_.SetDurability(records, milliseconds);
    ASSERT_EQ(0, output_.OpenFile());
    ASSERT_THAT(disk_.Take(), IsEmpty());
  }

  // The calls that these records cause.
  std::vector<std::string> Writing(int first, int last) {
    EXPECT_EQ(0, WriteNumbers(output_, first, last));
    return disk_.Take();
  }

  LoggedOutput output_;
  DiskCalls disk_;
};

TEST_F(Durability, IsOffUnlessAskedFor) {
  output_.SetSafeArchive(true);
  output_.SetThresholdLimit(2);
  ASSERT_EQ(0, output_.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output_, 1, 3));
  EXPECT_EQ(0, output_.FlushFile());
  output_.CloseFile();
  EXPECT_THAT(disk_.Take(), ElementsAre(StartsWith("rename live.xml to EDA")));
}

TEST_F(Durability, OfNumbersThatAreNotPositiveIsOff) {
  Open(0, -1);
  EXPECT_THAT(Writing(1, 100), IsEmpty());
  output_.CloseFile();
  EXPECT_THAT(disk_.Take(), IsEmpty());
}

TEST_F(Durability, PutsRecordsOnTheDiskOnceThereAreSoMany) {
  Open(3, 0);
  EXPECT_THAT(Writing(1, 2), IsEmpty());
  EXPECT_THAT(Writing(3, 3), ElementsAre("fdatasync live.xml", "fsync bin"));
  EXPECT_THAT(home_.Read("bin/live.xml"), HasSubstr("Number=\"3\"/>\n"));
  EXPECT_THAT(Writing(4, 5), IsEmpty());
  EXPECT_THAT(Writing(6, 6), ElementsAre("fdatasync live.xml")) << "its name is there already";
}

TEST_F(Durability, PutsRecordsOnTheDiskOnceTheFirstHasWaited) {
  Open(0, 20);
  int number = 0;
  std::vector<std::string> calls;
  EXPECT_TRUE(WaitUntil([&] {
    ++number;
    calls = Writing(number, number);
    return !calls.empty();
  }));
  EXPECT_THAT(calls, ElementsAre("fdatasync live.xml", "fsync bin"));
  EXPECT_GT(number, 1);
}

TEST_F(Durability, LooksAtTheTimeWhenTheHostFlushes) {
  Open(0, 20);
  ASSERT_THAT(Writing(1, 1), IsEmpty());
  std::vector<std::string> calls;
  EXPECT_TRUE(WaitUntil([&] {
    EXPECT_EQ(0, output_.FlushFile());
    calls = disk_.Take();
    return !calls.empty();
  }));
  EXPECT_THAT(calls, ElementsAre("fdatasync live.xml", "fsync bin"));
  EXPECT_EQ(0, output_.FlushFile());
  EXPECT_THAT(disk_.Take(), IsEmpty()) << "nothing waits any more";
}

TEST_F(Durability, DoesNotSyncBeforeItsTime) {
  Open(100, 1'000'000);
  EXPECT_THAT(Writing(1, 99), IsEmpty());
  EXPECT_EQ(0, output_.FlushFile());
  EXPECT_THAT(disk_.Take(), IsEmpty());
}

TEST_F(Durability, SyncsAnArchiveBeforeAndItsNameAfterwards) {
  Open(1000, 0);
  output_.SetThresholdLimit(2);
  EXPECT_THAT(Writing(1, 3), ElementsAre("fdatasync live.xml", StartsWith("rename live.xml to EDA"),
                                         "fsync outbox"));
}

TEST_F(Durability, SyncsArchivesThatMayBeReplacedToo) {
  Open(1000, 0, false);
  output_.SetThresholdLimit(2);
  EXPECT_THAT(Writing(1, 3), ElementsAre("fdatasync live.xml", StartsWith("rename live.xml to EDA"),
                                         "fsync outbox"));
}

TEST_F(Durability, SyncsWhatIsSetAside) {
  Open(1000, 0);
  output_.SetThresholdLimit(2);
  LoseOutbox();
  EXPECT_THAT(Writing(1, 3), ElementsAre("fdatasync live.xml", StartsWith("rename live.xml to EDA"),
                                         StartsWith("rename live.xml to live.xml."), "fsync bin"));
  RestoreOutbox();
  EXPECT_EQ(0, output_.RetryArchive());
  EXPECT_THAT(disk_.Take(), ElementsAre(StartsWith("rename live.xml."), "fsync outbox"));
}

TEST_F(Durability, SyncsWhatAnEarlierProcessLeft) {
  home_.Write("bin/live.xml", kUnfinished);
  output_.SetSafeArchive(true);
  output_.SetDurability(1, 0);
  ASSERT_EQ(0, output_.OpenFile());
  EXPECT_THAT(disk_.Take(), ElementsAre("fdatasync live.xml", StartsWith("rename live.xml to EDA"),
                                        "fsync outbox"));
  EXPECT_EQ(0, output_.GetWriteError());
}

TEST_F(Durability, SyncsTheEndOfADocument) {
  Open(1000, 0);
  ASSERT_THAT(Writing(1, 1), IsEmpty());
  output_.CloseFile();
  EXPECT_THAT(disk_.Take(), ElementsAre("fdatasync live.xml", "fsync bin"));
  EXPECT_EQ(Range(1, 1), ParseAuditFile("live.xml").Numbers());
}

TEST_F(Durability, SyncFileSyncsAlsoWhereItIsOff) {
  Open(0, 0);
  ASSERT_THAT(Writing(1, 1), IsEmpty());
  EXPECT_EQ(0, output_.SyncFile());
  EXPECT_THAT(disk_.Take(), ElementsAre("fdatasync live.xml", "fsync bin"));
  EXPECT_THAT(home_.Read("bin/live.xml"), HasSubstr("Number=\"1\"/>\n"));
}

TEST_F(Durability, SyncFileNeedsADocument) {
  EXPECT_EQ(1, output_.SyncFile());
  Open(0, 0);
  output_.CloseFile();
  EXPECT_EQ(1, output_.SyncFile());
}

TEST_F(Durability, ContentThatCannotBeSyncedIsAWriteError) {
  Open(2, 0);
  disk_.FailContents(EIO);
  EXPECT_EQ(0, WriteNumbers(output_, 1, 2));
  EXPECT_EQ(EIO, output_.GetWriteError());
  EXPECT_EQ(1, output_.SyncFile());
}

TEST_F(Durability, NameThatCannotBeSyncedIsAWriteError) {
  Open(0, 0);
  disk_.FailNames(EIO);
  EXPECT_EQ(1, output_.SyncFile());
  EXPECT_EQ(EIO, output_.GetWriteError());
}

TEST_F(Durability, NameIsSyncedLaterWithoutDescriptors) {
  Open(0, 0);
  disk_.FailNames(EMFILE);
  EXPECT_EQ(0, output_.SyncFile());
  disk_.FailNames(0);
  ASSERT_THAT(disk_.Take(), ElementsAre("fdatasync live.xml", "fsync bin"));
  EXPECT_EQ(0, output_.SyncFile());
  EXPECT_THAT(disk_.Take(), ElementsAre("fdatasync live.xml", "fsync bin"));
}

TEST_F(Durability, ArchiveThatCannotBeSyncedIsAWriteErrorOfTheNextFile) {
  Open(1000, 0);
  output_.SetThresholdLimit(2);
  EXPECT_EQ(0, WriteNumbers(output_, 1, 2));
  disk_.FailNames(EIO);
  EXPECT_EQ(0, WriteNumbers(output_, 3, 3));
  EXPECT_EQ(EIO, output_.GetWriteError());
  disk_.FailNames(0);
  ASSERT_EQ(0, output_.OpenFile());
  EXPECT_EQ(0, output_.GetWriteError());
}

TEST_F(Durability, LeftFileThatCannotBeSyncedIsAWriteError) {
  home_.Write("bin/live.xml", kUnfinished);
  output_.SetSafeArchive(true);
  output_.SetDurability(1, 0);
  disk_.FailContents(EIO);
  ASSERT_EQ(0, output_.OpenFile());
  EXPECT_EQ(EIO, output_.GetWriteError());
}

TEST_F(Durability, FileSystemsThatCannotSyncAreNoError) {
  Open(1, 0);
  disk_.FailContents(EINVAL);
  disk_.FailNames(EINVAL);
  EXPECT_EQ(0, WriteNumbers(output_, 1, 1));
  EXPECT_EQ(0, output_.GetWriteError());
}

}  // namespace
}  // namespace wkagent::test
