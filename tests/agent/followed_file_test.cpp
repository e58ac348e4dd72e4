#include "agent/followed_file.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/agent_home.h"
#include "support/open_files.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using State = FollowedFile::State;

class FollowedFileTest : public ::testing::Test {
 protected:
  // Opens "tmp/log", whose content is `text`.
  FollowedFile OpenLog(const std::string& text, bool follow) {
    home_.Write("tmp/log", text);
    FollowedFile file(log_, follow);
    EXPECT_TRUE(file.Open());
    return file;
  }

  void Append(const std::string& text) { std::ofstream(log_, std::ios::app) << text; }

  void RenameLog() { std::filesystem::rename(log_, log_ + ".1"); }

  // Reads until there is nothing more for now. What was read, with "|" where content was replaced.
  static std::string Drain(FollowedFile& file) {
    std::string text;
    for (State state = file.Read();; state = file.Read()) {
      if (state == State::kReplaced) {
        text += '|';
      } else if (state == State::kData) {
        text += file.Block();
      } else {
        return text + (state == State::kNothing ? "" : state == State::kEnd ? "<end>" : "<failed>");
      }
    }
  }

  // The same with a second look, as an agent takes it later on.
  static std::string DrainTwice(FollowedFile& file) {
    const std::string first = Drain(file);
    return first + Drain(file);
  }

  AgentHome home_;
  std::string log_ = home_.Path("tmp/log");
};

TEST_F(FollowedFileTest, ReadsAFileToItsEnd) {
  FollowedFile file = OpenLog("one\ntwo", false);
  ASSERT_EQ(State::kData, file.Read());
  EXPECT_EQ("one\ntwo", file.Block());
  EXPECT_EQ(State::kEnd, file.Read());
  EXPECT_EQ("", file.Block());
  EXPECT_EQ(State::kEnd, file.Read());
}

TEST_F(FollowedFileTest, ReadsAnEmptyFile) {
  FollowedFile file = OpenLog("", false);
  EXPECT_EQ(State::kEnd, file.Read());
}

TEST_F(FollowedFileTest, ReadsALargeFileInBlocks) {
  std::string text;
  while (text.size() < 3000000) text += std::to_string(text.size()) + "\n";
  FollowedFile file = OpenLog(text, false);
  EXPECT_TRUE(text + "<end>" == Drain(file));
}

TEST_F(FollowedFileTest, WhatIsNotThereCannotBeOpened) {
  for (const bool follow : {false, true}) {
    FollowedFile file(home_.Path("tmp/none"), follow);
    EXPECT_FALSE(file.Open());
    EXPECT_EQ(ENOENT, file.Error());
  }
  FollowedFile file(home_.Path("tmp/none/log"), false);
  EXPECT_FALSE(file.Open());
  EXPECT_EQ(ENOENT, file.Error());
}

TEST_F(FollowedFileTest, ADirectoryCannotBeOpened) {
  FollowedFile file(home_.Path("tmp"), false);
  EXPECT_FALSE(file.Open());
  EXPECT_EQ(EISDIR, file.Error());
}

TEST_F(FollowedFileTest, NoFileCanBeOpenedWithoutDescriptors) {
  home_.Write("tmp/log", "x");
  FollowedFile file(log_, false);
  {
    const NoMoreFiles limit;
    EXPECT_FALSE(file.Open());
  }
  EXPECT_EQ(EMFILE, file.Error());
  EXPECT_TRUE(file.Open());
}

TEST_F(FollowedFileTest, AFileIsReadOnWithoutWaiting) {
  EXPECT_EQ(-1, OpenLog("x", true).WaitFd());
  EXPECT_EQ(-1, OpenLog("x", false).WaitFd());
}

TEST_F(FollowedFileTest, NoDescriptorStaysOpen) {
  const long before = OpenFiles();
  {
    FollowedFile file = OpenLog("one", true);
    EXPECT_EQ("one", Drain(file));
    RenameLog();
    home_.Write("tmp/log", "two");
    EXPECT_EQ("|two", DrainTwice(file));
    EXPECT_EQ(before + 1, OpenFiles());
  }
  EXPECT_EQ(before, OpenFiles());
}

TEST_F(FollowedFileTest, AFollowedFileIsReadAsItGrows) {
  FollowedFile file = OpenLog("one\n", true);
  EXPECT_EQ("one\n", Drain(file));
  EXPECT_EQ("", Drain(file));
  Append("tw");
  EXPECT_EQ("tw", Drain(file));
  Append("o\nthree\n");
  EXPECT_EQ("o\nthree\n", Drain(file));
}

TEST_F(FollowedFileTest, AFollowedFileMayBeEmptyAtFirst) {
  FollowedFile file = OpenLog("", true);
  EXPECT_EQ("", Drain(file));
  Append("one\n");
  EXPECT_EQ("one\n", Drain(file));
}

TEST_F(FollowedFileTest, AFileThatIsNotFollowedEndsWhateverComes) {
  FollowedFile file = OpenLog("one", false);
  RenameLog();
  home_.Write("tmp/log", "two");
  EXPECT_EQ("one<end>", Drain(file));
}

TEST_F(FollowedFileTest, AfterARenameTheNewFileIsReadFromItsBeginning) {
  FollowedFile file = OpenLog("one\n", true);
  EXPECT_EQ("one\n", Drain(file));
  RenameLog();
  home_.Write("tmp/log", "two\n");
  EXPECT_EQ("|two\n", DrainTwice(file));
  Append("three\n");
  EXPECT_EQ("three\n", Drain(file));
}

TEST_F(FollowedFileTest, WhatTheOldFileGainedBeforeItsRenameIsRead) {
  FollowedFile file = OpenLog("one\n", true);
  EXPECT_EQ("one\n", Drain(file));
  Append("two\n");
  RenameLog();
  home_.Write("tmp/log", "three\n");
  EXPECT_EQ("two\n|three\n", DrainTwice(file));
}

TEST_F(FollowedFileTest, WhatTheOldFileGainsWhileItIsRenamedIsRead) {
  FollowedFile file = OpenLog("one\n", true);
  EXPECT_EQ("one\n", Drain(file));
  std::ofstream writer(log_, std::ios::app);
  RenameLog();
  home_.Write("tmp/log", "three\n");
  EXPECT_EQ("", Drain(file)) << "the writer may not have noticed yet";
  writer << "two\n" << std::flush;
  EXPECT_EQ("two\n|three\n", DrainTwice(file));
}

TEST_F(FollowedFileTest, ARenameWithoutNewFileIsWaitedOut) {
  FollowedFile file = OpenLog("one\n", true);
  EXPECT_EQ("one\n", Drain(file));
  RenameLog();
  for (int i = 0; i < 3; ++i) EXPECT_EQ("", DrainTwice(file));
  std::ofstream(log_ + ".1", std::ios::app) << "two\n";
  EXPECT_EQ("two\n", Drain(file));
  home_.Write("tmp/log", "three\n");
  EXPECT_EQ("|three\n", DrainTwice(file));
}

TEST_F(FollowedFileTest, ARemovedFileIsWaitedFor) {
  FollowedFile file = OpenLog("one\n", true);
  EXPECT_EQ("one\n", Drain(file));
  std::filesystem::remove(log_);
  EXPECT_EQ("", DrainTwice(file));
  home_.Write("tmp/log", "two\n");
  EXPECT_EQ("|two\n", DrainTwice(file));
}

TEST_F(FollowedFileTest, EveryRotationIsFollowed) {
  FollowedFile file = OpenLog("0\n", true);
  EXPECT_EQ("0\n", Drain(file));
  for (int number = 1; number <= 5; ++number) {
    RenameLog();
    const std::string line(3, static_cast<char>('0' + number));
    home_.Write("tmp/log", line);
    EXPECT_EQ(std::string("|").append(line), DrainTwice(file));
  }
}

TEST_F(FollowedFileTest, ANewFileMayBeEmpty) {
  FollowedFile file = OpenLog("one\n", true);
  EXPECT_EQ("one\n", Drain(file));
  RenameLog();
  home_.Write("tmp/log", "");
  EXPECT_EQ("|", DrainTwice(file));
  Append("two\n");
  EXPECT_EQ("two\n", Drain(file));
}

TEST_F(FollowedFileTest, AFileThatIsRenamedBackIsTheSame) {
  FollowedFile file = OpenLog("one\n", true);
  EXPECT_EQ("one\n", Drain(file));
  RenameLog();
  EXPECT_EQ("", DrainTwice(file));
  std::filesystem::rename(log_ + ".1", log_);
  Append("two\n");
  EXPECT_EQ("two\n", DrainTwice(file));
}

TEST_F(FollowedFileTest, EveryRenameIsGivenASecondLook) {
  FollowedFile file = OpenLog("one\n", true);
  EXPECT_EQ("one\n", Drain(file));
  RenameLog();
  home_.Write("tmp/log", "other\n");
  EXPECT_EQ("", Drain(file));
  std::filesystem::rename(log_ + ".1", log_);
  EXPECT_EQ("", Drain(file));
  RenameLog();
  home_.Write("tmp/log", "three\n");
  EXPECT_EQ("", Drain(file));
  std::ofstream(log_ + ".1", std::ios::app) << "two\n";
  EXPECT_EQ("two\n|three\n", DrainTwice(file));
}

TEST_F(FollowedFileTest, ATruncatedFileIsReadFromItsBeginning) {
  FollowedFile file = OpenLog("one\ntwo\n", true);
  EXPECT_EQ("one\ntwo\n", Drain(file));
  std::filesystem::resize_file(log_, 0);
  EXPECT_EQ("|", Drain(file));
  Append("three\n");
  EXPECT_EQ("three\n", Drain(file));
}

TEST_F(FollowedFileTest, ATruncatedFileMayHaveNewContentAtOnce) {
  FollowedFile file = OpenLog("one\ntwo\n", true);
  EXPECT_EQ("one\ntwo\n", Drain(file));
  std::filesystem::resize_file(log_, 0);
  Append("3\n");
  EXPECT_EQ("|3\n", Drain(file));
}

TEST_F(FollowedFileTest, WhatReplacesAFollowedFileMustBeReadable) {
  FollowedFile file = OpenLog("one\n", true);
  EXPECT_EQ("one\n", Drain(file));
  RenameLog();
  std::filesystem::create_directory(log_);
  EXPECT_EQ("", DrainTwice(file));
  std::ofstream(log_ + ".1", std::ios::app) << "two\n";
  EXPECT_EQ("two\n", DrainTwice(file));
  std::filesystem::remove(log_);
  home_.Write("tmp/log", "three\n");
  EXPECT_EQ("|three\n", DrainTwice(file));
}

bool CanBeRead(int fd) {
  pollfd source{fd, POLLIN, 0};
  return poll(&source, 1, 0) == 1;
}

class FollowedFifoTest : public FollowedFileTest {
 protected:
  void SetUp() override { ASSERT_EQ(0, mkfifo(log_.c_str(), 0600)); }

  [[nodiscard]] Fd OpenWriter() const { return Fd(open(log_.c_str(), O_WRONLY | O_NONBLOCK)); }

  static void Write(const Fd& writer, const std::string& text) {
    EXPECT_EQ(static_cast<ssize_t>(text.size()), write(writer.Get(), text.data(), text.size()));
  }
};

TEST_F(FollowedFifoTest, IsOpenedWithoutWaitingForAWriter) {
  FollowedFile file(log_, false);
  ASSERT_TRUE(file.Open());
  ASSERT_GE(file.WaitFd(), 0);
  EXPECT_FALSE(CanBeRead(file.WaitFd()));
  EXPECT_EQ(FD_CLOEXEC, fcntl(file.WaitFd(), F_GETFD));
}

TEST_F(FollowedFifoTest, IsReadUntilItsWriterLeaves) {
  for (const bool follow : {false, true}) {
    FollowedFile file(log_, follow);
    ASSERT_TRUE(file.Open());
    Fd writer = OpenWriter();
    EXPECT_EQ("", Drain(file));
    Write(writer, "one\n");
    EXPECT_TRUE(CanBeRead(file.WaitFd()));
    EXPECT_EQ("one\n", Drain(file));
    Write(writer, "two\n");
    writer.Reset();
    EXPECT_TRUE(CanBeRead(file.WaitFd()));
    EXPECT_EQ("two\n<end>", Drain(file));
  }
}

// Another descriptor as standard input, until the object ends.
class StandardInput {
 public:
  explicit StandardInput(int fd) : before_(dup(STDIN_FILENO)) { dup2(fd, STDIN_FILENO); }
  ~StandardInput() {
    if (before_.IsOpen()) {
      dup2(before_.Get(), STDIN_FILENO);
    } else {
      close(STDIN_FILENO);
    }
  }
  StandardInput(const StandardInput&) = delete;
  StandardInput& operator=(const StandardInput&) = delete;

 private:
  Fd before_;
};

TEST_F(FollowedFileTest, ADashIsStandardInput) {
  int ends[2] = {};
  ASSERT_EQ(0, pipe(ends));
  Fd input(ends[0]);
  Fd writer(ends[1]);
  const StandardInput standard(input.Get());
  input.Reset();
  FollowedFile file("-", false);
  ASSERT_TRUE(file.Open());
  EXPECT_GE(file.WaitFd(), 0);
  EXPECT_FALSE(CanBeRead(file.WaitFd()));
  ASSERT_EQ(4, write(writer.Get(), "one\n", 4));
  ASSERT_EQ(State::kData, file.Read());
  EXPECT_EQ("one\n", file.Block());
  writer.Reset();
  EXPECT_EQ(State::kEnd, file.Read());
}

TEST_F(FollowedFileTest, AFileAsStandardInputEndsAlsoWhenFollowed) {
  home_.Write("tmp/log", "one\n");
  const Fd input(open(log_.c_str(), O_RDONLY));
  const StandardInput standard(input.Get());
  FollowedFile file("-", true);
  ASSERT_TRUE(file.Open());
  EXPECT_EQ("one\n<end>", Drain(file));
}

TEST_F(FollowedFileTest, StandardInputMayBeClosed) {
  const StandardInput standard(STDIN_FILENO);
  close(STDIN_FILENO);
  FollowedFile file("-", false);
  EXPECT_FALSE(file.Open());
  EXPECT_EQ(EBADF, file.Error());
}

}  // namespace
}  // namespace wkagent::test
