#include "output/safe_archive.h"

#include <cerrno>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/agent_home.h"
#include "support/open_files.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kStamp[] = "20261115082205";

class SafeArchive : public ::testing::Test {
 protected:
  AgentHome home_;
};

TEST_F(SafeArchive, ArchivePathHasThreeLettersAndTheStamp) {
  EXPECT_EQ("../outbox/20261115082205.xml", ArchivePath("", kStamp, 0));
  EXPECT_EQ("../outbox/E20261115082205.xml", ArchivePath("E", kStamp, 0));
  EXPECT_EQ("../outbox/ED20261115082205.xml", ArchivePath("ED", kStamp, 0));
  EXPECT_EQ("../outbox/EDA20261115082205.xml", ArchivePath("EDA", kStamp, 0));
  EXPECT_EQ("../outbox/EDA20261115082205.xml", ArchivePath("EDAuditData", kStamp, 0));
}

TEST_F(SafeArchive, ArchivePathHasItsNumberFromOneOn) {
  EXPECT_EQ("../outbox/EDA20261115082205_0001.xml", ArchivePath("EDA", kStamp, 1));
  EXPECT_EQ("../outbox/EDA20261115082205_9999.xml", ArchivePath("EDA", kStamp, 9999));
  EXPECT_EQ("../outbox/EDA20261115082205_10000.xml", ArchivePath("EDA", kStamp, 10000));
}

TEST_F(SafeArchive, ArchivePathsSortByNumber) {
  for (int number = 1; number <= 9999; ++number) {
    ASSERT_LT(ArchivePath("EDA", kStamp, number - 1), ArchivePath("EDA", kStamp, number));
  }
  EXPECT_LT(ArchivePath("EDA", kStamp, 9999), ArchivePath("EDA", "20261115082206", 0));
}

TEST_F(SafeArchive, ArchiveReplaces) {
  home_.Write("bin/from", "new");
  home_.Write("outbox/EDA20261115082205.xml", "old");
  const Move move = Archive("from", "EDA", kStamp);
  EXPECT_EQ(0, move.error);
  EXPECT_EQ("../outbox/EDA20261115082205.xml", move.to);
  EXPECT_EQ("new", home_.Read("outbox/EDA20261115082205.xml"));
  EXPECT_FALSE(home_.Exists("bin/from"));
}

TEST_F(SafeArchive, ArchiveNamesTheErrorAndThePath) {
  const Move missing = Archive("missing", "EDA", kStamp);
  EXPECT_EQ(ENOENT, missing.error);
  EXPECT_EQ("../outbox/EDA20261115082205.xml", missing.to);
  home_.Write("bin/from", "new");
  std::filesystem::remove(home_.Path("outbox"));
  EXPECT_EQ(ENOENT, Archive("from", "EDA", kStamp).error);
  EXPECT_EQ("new", home_.Read("bin/from"));
}

TEST_F(SafeArchive, ArchiveWithoutReplacingTakesTheFirstFreeName) {
  home_.Write("bin/from", "new");
  home_.Write("outbox/EDA20261115082205.xml", "first");
  home_.Write("outbox/EDA20261115082205_0001.xml", "second");
  home_.Write("outbox/EDA20261115082205_0003.xml", "fourth");
  const Move move = ArchiveWithoutReplacing("from", "EDA", kStamp);
  EXPECT_EQ(0, move.error);
  EXPECT_EQ("../outbox/EDA20261115082205_0002.xml", move.to);
  EXPECT_EQ("new", home_.Read("outbox/EDA20261115082205_0002.xml"));
  EXPECT_EQ("first", home_.Read("outbox/EDA20261115082205.xml"));
}

TEST_F(SafeArchive, ArchiveWithoutReplacingKeepsWhatItCannotMove) {
  home_.Write("bin/from", "new");
  std::filesystem::remove(home_.Path("outbox"));
  const Move move = ArchiveWithoutReplacing("from", "EDA", kStamp);
  EXPECT_EQ(ENOENT, move.error);
  EXPECT_EQ("../outbox/EDA20261115082205.xml", move.to);
  EXPECT_EQ("new", home_.Read("bin/from"));
}

TEST_F(SafeArchive, ArchiveWithoutReplacingDoesNotFollowLinks) {
  home_.Write("bin/from", "new");
  std::filesystem::create_symlink("nowhere", home_.Path("outbox/EDA20261115082205.xml"));
  EXPECT_EQ("../outbox/EDA20261115082205_0001.xml",
            ArchiveWithoutReplacing("from", "EDA", kStamp).to);
  EXPECT_TRUE(std::filesystem::is_symlink(home_.Path("outbox/EDA20261115082205.xml")));
}

TEST_F(SafeArchive, SetAsideNumbersFromOneOn) {
  for (const char* text : {"first", "second", "third"}) {
    home_.Write("tmp/live.xml", text);
    ASSERT_EQ(0, SetAside("../tmp/live.xml", kStamp).error);
  }
  EXPECT_THAT(home_.List("tmp"), ElementsAre("live.xml.20261115082205_0001.pending",
                                             "live.xml.20261115082205_0002.pending",
                                             "live.xml.20261115082205_0003.pending"));
  EXPECT_EQ("second", home_.Read("tmp/live.xml.20261115082205_0002.pending"));
}

TEST_F(SafeArchive, SetAsideNamesTheError) {
  const std::string name(230, 'n');
  home_.Write("bin/" + name, "text");
  const Move move = SetAside(name, kStamp);
  EXPECT_EQ(ENAMETOOLONG, move.error);
  EXPECT_EQ(name + ".20261115082205_0001.pending", move.to);
  EXPECT_EQ("text", home_.Read("bin/" + name));
}

TEST_F(SafeArchive, FilesSetAsideAreSortedByTime) {
  for (const char* name :
       {"live.xml.20261115082205_0002.pending", "live.xml.20261115082205_0001.pending",
        "live.xml.20251115082205_0003.pending", "live.xml"}) {
    home_.Write(std::string("tmp/") + name, "");
  }
  EXPECT_THAT(FilesSetAside("../tmp/live.xml"),
              ElementsAre("../tmp/live.xml.20251115082205_0003.pending",
                          "../tmp/live.xml.20261115082205_0001.pending",
                          "../tmp/live.xml.20261115082205_0002.pending"));
}

TEST_F(SafeArchive, FilesSetAsideAreFoundInTheWorkingFolder) {
  home_.Write("bin/live.xml.20261115082205_0001.pending", "");
  EXPECT_THAT(FilesSetAside("live.xml"), ElementsAre("live.xml.20261115082205_0001.pending"));
  EXPECT_THAT(FilesSetAside("./live.xml"), ElementsAre("./live.xml.20261115082205_0001.pending"));
  EXPECT_THAT(FilesSetAside(home_.Path("bin/live.xml")),
              ElementsAre(home_.Path("bin/live.xml.20261115082205_0001.pending")));
}

TEST_F(SafeArchive, FilesSetAsideAreOfThisLiveFileOnly) {
  for (const char* name :
       {"live.xml.login.20261115082205_0001.pending", "live.xmlx.20261115082205_0001.pending",
        "other.xml.20261115082205_0001.pending", "live.xml.20261115082205_0001.pending.bak",
        "live.xml.pending", "live.xml.20261115082205x_0001.pending"}) {
    home_.Write(std::string("bin/") + name, "");
  }
  EXPECT_THAT(FilesSetAside("live.xml"), IsEmpty());
}

TEST_F(SafeArchive, FilesSetAsideNeedAFolder) {
  EXPECT_THAT(FilesSetAside("../nowhere/live.xml"), IsEmpty());
  const NoMoreFiles none;
  EXPECT_THAT(FilesSetAside("live.xml"), IsEmpty());
}

TEST_F(SafeArchive, StampOfReadsTheNameOfAFileSetAside) {
  for (const std::string live : {"live.xml", "../tmp/live.xml", "/x.y/20000101000000"}) {
    EXPECT_EQ(kStamp, StampOf(live, live + "." + kStamp + "_0001.pending"));
  }
}

}  // namespace
}  // namespace wkagent::test
