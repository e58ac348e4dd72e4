// How wkcrypt writes its output, and that it warns of what the output cannot hold.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "crypto/wkcrypt_fixture.h"
#include "support/private_root.h"

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class WkcryptOutput : public Wkcrypt {
 protected:
  WkcryptOutput() { home_.Write("config/IN", kSettings); }

  // Expects that OUT cannot be written, forced or not, for this reason.
  void ExpectRefused(const std::string& reason) const {
    for (const bool force : {false, true}) {
      const Ended ended = force ? RunOn("encrypt", {"--force"}) : RunOn("encrypt");
      EXPECT_EQ(73, ended.status);
      EXPECT_EQ("wkcrypt: ../tmp/OUT: " + reason + "\n", ended.errors);
    }
  }
};

class WkcryptWarning : public Wkcrypt {};

TEST_F(WkcryptOutput, IsForItsOwnerAlone) {
  const mode_t before = umask(0);
  RunOn("encrypt");
  umask(before);
  struct stat status {};
  ASSERT_EQ(0, stat(home_.Path("tmp/OUT").c_str(), &status));
  EXPECT_EQ(0600U, status.st_mode & 0777);
  EXPECT_THAT(home_.List("tmp"), ElementsAre("OUT"));
}

TEST_F(WkcryptOutput, ExistingFileIsKeptWithoutForce) {
  home_.Write("tmp/OUT", "dear");
  const Ended ended = RunOn("encrypt");
  EXPECT_EQ(73, ended.status);
  EXPECT_EQ("wkcrypt: ../tmp/OUT: exists; --force replaces it\n", ended.errors);
  EXPECT_EQ("dear", Out());
}

TEST_F(WkcryptOutput, ExistingFileIsReplacedWithForce) {
  home_.Write("tmp/OUT", std::string(5000, 'x'));
  EXPECT_EQ(0, RunOn("encrypt", {"--force"}).status);
  EXPECT_EQ(EncryptedText(kSettings), Out());
  EXPECT_THAT(home_.List("tmp"), ElementsAre("OUT"));
}

TEST_F(WkcryptOutput, MayReplaceTheInput) {
  EXPECT_EQ(0, Run({"encrypt", "../config/IN", "../config/IN", "--guid", kGuid, "--force"}).status);
  EXPECT_EQ(EncryptedText(kSettings), home_.Read("config/IN"));
}

TEST_F(WkcryptOutput, StandsInTheWorkingFolderWhereItHasNone) {
  EXPECT_EQ(0, Run({"encrypt", "../config/IN", "OUT", "--guid", kGuid}).status);
  EXPECT_EQ(EncryptedText(kSettings), home_.Read("bin/OUT"));
}

TEST_F(WkcryptOutput, FailureKeepsTheExistingFile) {
  home_.Write("tmp/OUT", "dear");
  home_.Write("config/IN", EncryptedText(kSettings, kOtherGuid));
  EXPECT_EQ(65, RunOn("decrypt", {"--force"}).status);
  EXPECT_EQ("dear", Out());
}

TEST_F(WkcryptOutput, FolderIsNotReplaced) {
  std::filesystem::create_directory(home_.Path("tmp/OUT"));
  ExpectRefused("is no regular file");
}

TEST_F(WkcryptOutput, LinkIsNotReplaced) {
  home_.Write("tmp/target", "dear");
  std::filesystem::create_symlink("target", home_.Path("tmp/OUT"));
  ExpectRefused("is no regular file");
  EXPECT_EQ("dear", home_.Read("tmp/target"));
  EXPECT_TRUE(std::filesystem::is_symlink(home_.Path("tmp/OUT")));
}

TEST_F(WkcryptOutput, FolderMustExist) {
  std::filesystem::remove(home_.Path("tmp"));
  ExpectRefused("No such file or directory");
}

TEST_F(WkcryptOutput, ReadOnlyFolderIsTold) {
  InPrivateRoot([this] {
    MountReadOnly(home_.Path("tmp"));
    ExpectRefused("Read-only file system");
  });
}

TEST_F(WkcryptOutput, FullDiskLeavesNothing) {
  home_.Write("config/IN", std::string(20'000, 'x'));
  InPrivateRoot([this] {
    MountTmpfs(home_.Path("tmp"), "size=8k");
    const Ended ended = RunOn("encrypt");
    EXPECT_EQ(73, ended.status);
    EXPECT_THAT(ended.errors, HasSubstr("wkcrypt: ../tmp/OUT: No space left on device\n"));
    EXPECT_TRUE(HasLeftNothing());
  });
}

TEST_F(WkcryptOutput, FullDiskKeepsTheExistingFile) {
  home_.Write("config/IN", std::string(20'000, 'x'));
  InPrivateRoot([this] {
    MountTmpfs(home_.Path("tmp"), "size=8k");
    home_.Write("tmp/OUT", "dear");
    EXPECT_EQ(73, RunOn("encrypt", {"--force"}).status);
    EXPECT_EQ("dear", Out());
    EXPECT_THAT(home_.List("tmp"), ElementsAre("OUT"));
  });
}

TEST_F(WkcryptOutput, DiskWithoutRoomForAFileIsTold) {
  InPrivateRoot([this] {
    MountTmpfs(home_.Path("tmp"), "nr_inodes=1");
    ExpectRefused("No space left on device");
  });
}

// Reads its input from a pipe that the test writes.
class WkcryptUnderWay : public Wkcrypt {
 protected:
  WkcryptUnderWay() {
    mkfifo(home_.Path("config/IN").c_str(), 0600);
    process_.emplace(std::vector<std::string>{WKAGENT_WKCRYPT, "encrypt", "../config/IN",
                                              "../tmp/OUT", "--guid", kGuid});
    input_.open(home_.Path("config/IN"));  // waits until the program opens it
    input_ << "<Settings>" << std::flush;
  }

  std::optional<Process> process_;
  std::ofstream input_;
};

TEST_F(WkcryptUnderWay, LeavesNothingWhereItIsEnded) {
  process_->Signal(SIGTERM);
  EXPECT_EQ(128 + SIGTERM, process_->Wait());
  EXPECT_TRUE(HasLeftNothing());
}

TEST_F(WkcryptUnderWay, KeepsAFileThatAppearsMeanwhile) {
  home_.Write("tmp/OUT", "dear");
  input_.close();
  EXPECT_EQ(73, process_->Wait());
  EXPECT_EQ("wkcrypt: ../tmp/OUT: File exists\n", process_->Errors());
  EXPECT_EQ("dear", Out());
  EXPECT_THAT(home_.List("tmp"), ElementsAre("OUT"));
}

TEST_F(WkcryptWarning, OfASemicolonNamesItsLine) {
  const Ended ended = EncryptText("<a>\n<b>x;y</b>\n</a>\n");
  EXPECT_EQ(0, ended.status);
  EXPECT_EQ("wkcrypt: warning: ../config/IN:2: holds a \";\", and all that follows is lost\n",
            ended.errors);
  EXPECT_EQ(EncryptedText("<a>\n<b>x;y</b>\n</a>\n"), Out());
}

TEST_F(WkcryptWarning, OfAZeroByteNamesItsLine) {
  const Ended ended = EncryptText(std::string("<a>\n\n\0</a>", 10));
  EXPECT_EQ(0, ended.status);
  EXPECT_EQ("wkcrypt: warning: ../config/IN:3: holds a zero byte, and all that follows is lost\n",
            ended.errors);
}

TEST_F(WkcryptWarning, OfALostEndMarkerNamesASafeSize) {
  const Ended ended = EncryptText(std::string(287, 'x'));
  EXPECT_EQ(0, ended.status);
  EXPECT_EQ(
      "wkcrypt: warning: ../config/IN: 287 is a size at which the format drops the end marker, so "
      "that bytes without meaning may follow the text; line ends that fill it up to 288 mend "
      "that\n",
      ended.errors);
}

TEST_F(WkcryptWarning, OfALostEndTellsHowMuch) {
  const Ended ended = EncryptText(std::string(799, 'x'));
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(ended.errors, AllOf(HasSubstr("799 is a size at which the format drops the last 2 "),
                                  HasSubstr("up to 800")));
}

TEST_F(WkcryptWarning, OfATextTooLargeOffersNoSize) {
  const Ended ended = EncryptText(std::string(8161, 'x'));
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr("; no larger size is safe\n"));
  EXPECT_THAT(EncryptText(std::string(8160, 'x')).errors, IsEmpty());
}

TEST_F(WkcryptWarning, OfWhatIsLostComesAgainAtDecryption) {
  for (const std::string& text :
       {std::string("<Settings>a;b</Settings>"), std::string(287, 'x'), std::string(799, 'x')}) {
    const Ended ended = DecryptBytes(EncryptedText(text));
    EXPECT_EQ(0, ended.status);
    EXPECT_THAT(ended.errors,
                HasSubstr("wkcrypt: warning: ../config/IN: the text may not be whole"));
    EXPECT_EQ(CRijndael().DecryptSettings(EncryptedText(text), kGuid), Out());
  }
}

TEST_F(WkcryptWarning, OfAShortKeyTellsItsLength) {
  home_.Write("config/IN", kSettings);
  const Ended ended = Run({"encrypt", "../config/IN", "../tmp/OUT", "--guid", "short"});
  EXPECT_EQ(0, ended.status);
  EXPECT_EQ("wkcrypt: warning: the key has 5 characters of 16\n", ended.errors);
  EXPECT_EQ(EncryptedText(kSettings, "short"), Out());
}

}  // namespace
}  // namespace wkagent::test
