#include "syslog/append_file.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/agent_home.h"
#include "support/open_files.h"

namespace wkagent::test {
namespace {

class SyslogAppendFile : public testing::Test {
 protected:
  const AgentHome home_;
  const std::string path_ = home_.Path("tmp/file");
};

TEST_F(SyslogAppendFile, IsMadeWithItsMode) {
  const mode_t before = umask(0);
  for (const mode_t mode : {0600U, 0644U}) {
    std::filesystem::remove(path_);
    const Fd file = OpenForAppending(path_.c_str(), mode);
    struct stat status {};
    ASSERT_EQ(fstat(file.Get(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, mode);
  }
  umask(before);
}

TEST_F(SyslogAppendFile, IsNotInherited) {
  const Fd file = OpenForAppending(path_.c_str(), 0600);
  EXPECT_EQ(fcntl(file.Get(), F_GETFD), FD_CLOEXEC);
}

TEST_F(SyslogAppendFile, OfAMissingFolderIsNone) {
  EXPECT_FALSE(OpenForAppending(home_.Path("none/file").c_str(), 0600).IsOpen());
  EXPECT_FALSE(home_.Exists("none"));
}

TEST_F(SyslogAppendFile, GetsWhatTheStreamWritesAtItsEnd) {
  home_.Write("tmp/file", "before\n");
  std::ofstream stream;
  Attach(stream, OpenForAppending(path_.c_str(), 0600));
  home_.Write("tmp/file", "somebody else's longer line\n");
  stream << "after\n" << std::flush;
  EXPECT_TRUE(stream.good());
  EXPECT_EQ(home_.Read("tmp/file"), "somebody else's longer line\nafter\n");
}

TEST_F(SyslogAppendFile, IsOwnedByTheStream) {
  const long files = OpenFiles();
  {
    std::ofstream stream;
    Attach(stream, OpenForAppending(path_.c_str(), 0600));
    EXPECT_TRUE(stream.is_open());
    EXPECT_EQ(OpenFiles(), files + 1);
  }
  EXPECT_EQ(OpenFiles(), files);
}

TEST_F(SyslogAppendFile, StreamCanBeUsedAgainAfterItWasClosed) {
  std::ofstream stream;
  for (int i = 0; i < 2; ++i) {
    Attach(stream, OpenForAppending(path_.c_str(), 0600));
    stream << "line\n";
    stream.close();
    stream.setstate(std::ios::badbit);
  }
  EXPECT_EQ(home_.Read("tmp/file"), "line\nline\n");
}

TEST_F(SyslogAppendFile, StreamWithoutFileStaysAsItIs) {
  std::ofstream stream;
  stream.setstate(std::ios::failbit);
  Attach(stream, Fd());
  EXPECT_FALSE(stream.is_open());
  EXPECT_TRUE(stream.fail());
}

}  // namespace
}  // namespace wkagent::test
