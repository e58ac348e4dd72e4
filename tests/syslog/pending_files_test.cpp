#include "syslog/pending_files.h"

#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "core/handles.h"
#include "support/agent_home.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SyslogPendingFiles : public testing::Test {
 protected:
  std::string Put(const std::string& name, const std::string& text) {
    home_.Write("tmp/" + name, text);
    return home_.Path("tmp/" + name);
  }

  std::vector<std::string> Names() {
    std::vector<std::string> paths;
    EXPECT_TRUE(ListPendingFiles(home_.Path("tmp").c_str(), paths));
    for (std::string& path : paths) {
      EXPECT_TRUE(path.starts_with(home_.Path("tmp/")));
      path.erase(0, home_.Path("tmp/").size());
    }
    return paths;
  }

  static std::vector<std::string> Lines(PendingFile& file) {
    std::vector<std::string> lines;
    for (std::string line; file.ReadLine(line);) lines.push_back(line);
    return lines;
  }

  static Fd Open(const std::string& path) { return Fd(open(path.c_str(), O_RDONLY | O_CLOEXEC)); }

  AgentHome home_;
};

TEST_F(SyslogPendingFiles, AreListedInByteWiseOrder) {
  for (const char* name : {"b", "a", "B", "10", "2", "\xff"}) {
    Put(kBatchFilePrefix + std::string(name), "");
  }
  Put("other", "");
  EXPECT_THAT(Names(), ElementsAre("nsa_batch_10", "nsa_batch_2", "nsa_batch_B", "nsa_batch_a",
                                   "nsa_batch_b", "nsa_batch_\xff"));
}

TEST_F(SyslogPendingFiles, OfAnEmptyFolderAreNone) { EXPECT_THAT(Names(), IsEmpty()); }

TEST_F(SyslogPendingFiles, OfAMissingFolderCannotBeListed) {
  std::vector<std::string> paths;
  EXPECT_FALSE(ListPendingFiles(home_.Path("none").c_str(), paths));
  EXPECT_FALSE(ListPendingFiles(Put("file", "").c_str(), paths));
  EXPECT_THAT(paths, IsEmpty());
}

TEST_F(SyslogPendingFiles, AreReadByLine) {
  PendingFile file(Put("f", "a\n\nb\r\n" + std::string("c\0d", 3)));
  ASSERT_TRUE(file.IsOpen());
  EXPECT_FALSE(file.IsBusy());
  EXPECT_FALSE(file.IsAtEnd());
  EXPECT_THAT(Lines(file), ElementsAre("a", "", "b\r", std::string("c\0d", 3)));
  EXPECT_TRUE(file.IsAtEnd());
}

TEST_F(SyslogPendingFiles, AreAtTheirEndWhenEmpty) {
  PendingFile file(Put("f", ""));
  EXPECT_THAT(Lines(file), IsEmpty());
  EXPECT_TRUE(file.IsAtEnd());
}

TEST_F(SyslogPendingFiles, AreRemovedOnRequest) {
  PendingFile file(Put("f", "a\n"));
  EXPECT_TRUE(file.Remove());
  EXPECT_FALSE(home_.Exists("tmp/f"));
  EXPECT_FALSE(file.Remove());
}

TEST_F(SyslogPendingFiles, AreLockedAsLongAsTheyExist) {
  const std::string path = Put("f", "a\n");
  const Fd other = Open(path);
  {
    const PendingFile file(path);
    EXPECT_FALSE(LockBatchFile(other.Get()));
    EXPECT_TRUE(PendingFile(path).IsBusy());
  }
  EXPECT_TRUE(LockBatchFile(other.Get()));
}

TEST_F(SyslogPendingFiles, LockedByAnotherAreBusy) {
  const std::string path = Put("f", "a\n");
  const Fd other = Open(path);
  ASSERT_EQ(flock(other.Get(), LOCK_SH), 0);
  const PendingFile file(path);
  EXPECT_TRUE(file.IsBusy());
  EXPECT_FALSE(file.IsOpen());
}

TEST_F(SyslogPendingFiles, GoneSinceTheListingAreBusyToo) {
  const PendingFile file(home_.Path("tmp/none"));
  EXPECT_TRUE(file.IsBusy());
  EXPECT_FALSE(file.IsOpen());
}

TEST_F(SyslogPendingFiles, RemovedBeforeTheLockAreNotLocked) {
  const std::string path = Put("f", "a\n");
  const Fd file = Open(path);
  std::filesystem::remove(path);
  EXPECT_FALSE(LockBatchFile(file.Get()));
}

TEST_F(SyslogPendingFiles, LockCanBeTakenAgainByItsOwner) {
  const Fd file = Open(Put("f", "a\n"));
  EXPECT_TRUE(LockBatchFile(file.Get()));
  EXPECT_TRUE(LockBatchFile(file.Get()));
}

TEST_F(SyslogPendingFiles, AreFilesOnly) {
  std::filesystem::create_directory(home_.Path("tmp/folder"));
  ASSERT_EQ(mkfifo(home_.Path("tmp/fifo").c_str(), 0600), 0);
  for (const char* name : {"tmp/folder", "tmp/fifo"}) {
    const PendingFile file(home_.Path(name));
    EXPECT_FALSE(file.IsOpen()) << name;
    EXPECT_FALSE(file.IsBusy()) << name;
  }
  const PendingFile device("/dev/null");
  EXPECT_FALSE(device.IsOpen());
  EXPECT_FALSE(device.IsBusy());
}

}  // namespace
}  // namespace wkagent::test
