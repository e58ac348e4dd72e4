// What somebody else has put under the names of a safe output file: it is neither written nor
// moved, nor does what it leads to change.

#include <sys/stat.h>
#include <unistd.h>

#include "output/output_fixture.h"

namespace wkagent::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace fs = std::filesystem;

// An audit file that its writer did not complete: one that an output file would cut and complete.
constexpr char kVictim[] =
    "<?xml version=\"1.0\"?>\n<EDAuditData>\n  <EDADataRecords>\n    <Record Number=\"1\"/>\n    "
    "<Re";

class PlantedFiles : public OutputTest {
 protected:
  PlantedFiles() {
    home_.Write("config/victim", kVictim);
    output_.SetSafeArchive(true);
    output_.SetThresholdLimit(1);
  }

  // The live name was taken; nothing may come of it.
  void ExpectRefused() {
    EXPECT_EQ(1, output_.OpenFile());
    EXPECT_EQ(nullptr, output_.writer);
    EXPECT_THAT(LogRecorder::Messages(), Contains("Not a file, or a link: live.xml"));
    ExpectUntouched();
  }

  void ExpectUntouched() const {
    EXPECT_EQ(kVictim, home_.Read("config/victim"));
    EXPECT_THAT(home_.List("config"), ElementsAre("victim"));
    EXPECT_THAT(home_.List("outbox"), IsEmpty());
  }

  LoggedOutput output_;
};

TEST_F(PlantedFiles, SymbolicLinkIsNotFollowed) {
  fs::create_symlink("../config/victim", "live.xml");
  ExpectRefused();
  EXPECT_TRUE(fs::is_symlink("live.xml"));
}

TEST_F(PlantedFiles, LinkToNothingIsNotFollowed) {
  fs::create_symlink("../config/new", "live.xml");
  ExpectRefused();
}

TEST_F(PlantedFiles, FileWithASecondNameIsNeitherCutNorMoved) {
  fs::create_hard_link("../config/victim", "live.xml");
  ExpectRefused();
  EXPECT_EQ(2U, fs::hard_link_count("live.xml"));
}

TEST_F(PlantedFiles, PipeHoldsNobodyUp) {
  ASSERT_EQ(0, mkfifo("live.xml", 0600));
  ExpectRefused();
}

TEST_F(PlantedFiles, FolderStays) {
  fs::create_directory("live.xml");
  ExpectRefused();
  EXPECT_TRUE(fs::is_directory("live.xml"));
}

TEST_F(PlantedFiles, LinksAmongTheFilesSetAsideAreNotArchived) {
  fs::create_symlink("../config/victim", "live.xml.20261115082205_0001.pending");
  fs::create_hard_link("../config/victim", "live.xml.20261115082205_0002.pending");
  fs::create_directory("live.xml.20261115082205_0003.pending");
  EXPECT_EQ(0, output_.OpenFile());
  EXPECT_EQ(0, output_.RetryArchive());
  ExpectUntouched();
}

TEST_F(PlantedFiles, LinkThatAppearsWhileTheFileIsOpenIsNotFollowed) {
  ASSERT_EQ(0, output_.OpenFile());
  fs::remove("live.xml");
  fs::create_symlink("../config/victim", "live.xml");
  WriteNumbers(output_, 1, 2);
  EXPECT_EQ(nullptr, output_.writer);
  ExpectUntouched();
}

TEST_F(PlantedFiles, LinkUnderTheNameOfAnArchiveIsPassedOver) {
  for (const char* second : {"20261115082205", "20261115082206"}) {
    fs::create_symlink("../config/victim", home_.Path("outbox/EDA") + second + ".xml");
  }
  home_.Write("bin/live.xml.20261115082205_0001.pending", kVictim);
  EXPECT_EQ(0, output_.RetryArchive());
  EXPECT_EQ(kVictim, home_.Read("outbox/EDA20261115082205_0001.xml"));
  EXPECT_EQ(kVictim, home_.Read("config/victim"));
  EXPECT_TRUE(fs::is_symlink(home_.Path("outbox/EDA20261115082205.xml")));
}

TEST_F(PlantedFiles, LiveFileIsForTheGroupAtMostWhateverTheUmask) {
  const mode_t mask = umask(0);
  EXPECT_EQ(0, output_.OpenFile());
  umask(mask);
  EXPECT_EQ(fs::perms(0640), fs::status("live.xml").permissions());
}

TEST_F(PlantedFiles, HostsWithoutTheSafeModeMayUseLinksAsEver) {
  LoggedOutput output;
  fs::create_symlink("../tmp/elsewhere.xml", "live.xml");
  EXPECT_EQ(0, output.OpenFile());
  output.CloseFile();
  EXPECT_THAT(home_.Read("tmp/elsewhere.xml"), HasSubstr("<EDAuditData>"));
}

}  // namespace
}  // namespace wkagent::test
