#include "core/own_file.h"

#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/agent_home.h"

namespace wkagent::test {
namespace {

using testing::IsEmpty;

constexpr int kAppend = O_WRONLY | O_APPEND | O_CREAT;

// A folder with a victim, which no write may reach.
class OwnFile : public testing::Test {
 protected:
  OwnFile() { home_.Write("config/victim", "untouched"); }
  ~OwnFile() override { umask(mask_); }

  // The errno with which a file of this name is refused, 0 where it is not.
  static int Refusal(int flags) {
    const Fd file = OpenOwnFile("file", flags, 0640);
    return file.IsOpen() ? 0 : errno;
  }

  static void ExpectRefused(int error) {
    for (const int flags : {kAppend, O_WRONLY | O_CREAT | O_TRUNC, O_RDWR | O_CREAT}) {
      EXPECT_EQ(error, Refusal(flags)) << flags;
    }
    EXPECT_EQ(EEXIST, Refusal(O_WRONLY | O_CREAT | O_EXCL));
    EXPECT_FALSE(IsOwnFileOrNothing("file"));
  }

  static mode_t ModeOf(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 ? status.st_mode & 07777 : 0;
  }

  void TearDown() override { EXPECT_EQ("untouched", home_.Read("config/victim")); }

  AgentHome home_;
  const mode_t mask_ = umask(022);
};

TEST_F(OwnFile, IsCreatedWithItsModeWhateverTheUmask) {
  for (const mode_t mask : {mode_t{0}, mode_t{027}, mode_t{0777}}) {
    umask(mask);
    EXPECT_TRUE(OpenOwnFile("file", kAppend, 0640).IsOpen());
    EXPECT_EQ(0640U, ModeOf("file"));
    ASSERT_EQ(0, unlink("file"));
  }
}

TEST_F(OwnFile, KeepsModeAndTextWhereItIsThere) {
  home_.Write("bin/file", "text");
  ASSERT_EQ(0, chmod("file", 0600));
  EXPECT_TRUE(OpenOwnFile("file", kAppend, 0640).IsOpen());
  EXPECT_EQ(0600U, ModeOf("file"));
  EXPECT_EQ("text", home_.Read("bin/file"));
}

TEST_F(OwnFile, IsEmptiedOnlyWhenAsked) {
  home_.Write("bin/file", "text");
  EXPECT_TRUE(OpenOwnFile("file", O_WRONLY | O_CREAT | O_TRUNC, 0640).IsOpen());
  EXPECT_THAT(home_.Read("bin/file"), IsEmpty());
}

TEST_F(OwnFile, IsNoSymbolicLink) {
  std::filesystem::create_symlink("../config/victim", "file");
  ExpectRefused(ELOOP);
}

TEST_F(OwnFile, IsNoLinkToNothing) {
  std::filesystem::create_symlink("../config/new", "file");
  ExpectRefused(ELOOP);
  EXPECT_FALSE(home_.Exists("config/new"));
}

TEST_F(OwnFile, HasNoSecondName) {
  std::filesystem::create_hard_link("../config/victim", "file");
  ExpectRefused(EMLINK);
}

TEST_F(OwnFile, IsNoFolder) {
  std::filesystem::create_directory("file");
  ExpectRefused(EISDIR);
}

TEST_F(OwnFile, IsNoPipeThatWouldHoldItUp) {
  ASSERT_EQ(0, mkfifo("file", 0600));
  EXPECT_EQ(ENXIO, Refusal(kAppend));
  EXPECT_EQ(EINVAL, Refusal(O_RDONLY));
  EXPECT_EQ(EINVAL, Refusal(O_RDWR | O_CREAT));
}

TEST_F(OwnFile, IsNotInheritedByPrograms) {
  const Fd file = OpenOwnFile("file", kAppend, 0640);
  EXPECT_EQ(FD_CLOEXEC, fcntl(file.Get(), F_GETFD));
}

TEST_F(OwnFile, StreamIsRefusedAsTheFileIs) {
  std::filesystem::create_symlink("../config/victim", "file");
  EXPECT_EQ(nullptr, OpenOwnStream("file", O_RDONLY, "r"));
  ASSERT_EQ(0, unlink("file"));
  EXPECT_NE(nullptr, OpenOwnStream("file", kAppend, "a", 0640));
}

TEST_F(OwnFile, MayBeMissing) {
  EXPECT_TRUE(IsOwnFileOrNothing("file"));
  EXPECT_EQ(ENOENT, Refusal(O_RDONLY));
  EXPECT_TRUE(RemoveFormer("file"));
}

TEST_F(OwnFile, NameOfEveryByteIsTakenAsItIs) {
  std::string name;
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '/') name += static_cast<char>(byte);
  }
  EXPECT_TRUE(OpenOwnFile(name.c_str(), kAppend, 0640).IsOpen());
  EXPECT_THAT(home_.List("bin"), testing::ElementsAre(name));
}

}  // namespace
}  // namespace wkagent::test
