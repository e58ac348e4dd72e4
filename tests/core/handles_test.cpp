#include "core/handles.h"

#include <utility>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace wkagent {
namespace {

int OpenNull() { return open("/dev/null", O_RDONLY | O_CLOEXEC); }
bool IsOpen(int fd) { return fcntl(fd, F_GETFD) >= 0; }

TEST(Fd, IsNoneByDefault) {
  const Fd fd;
  EXPECT_FALSE(fd.IsOpen());
  EXPECT_EQ(fd.Get(), -1);
}

TEST(Fd, ClosesAtItsEnd) {
  const int number = OpenNull();
  {
    const Fd fd(number);
    EXPECT_TRUE(fd.IsOpen());
    EXPECT_EQ(fd.Get(), number);
    EXPECT_TRUE(IsOpen(number));
  }
  EXPECT_FALSE(IsOpen(number));
}

TEST(Fd, DescriptorZeroIsOpen) {
  Fd fd(0);
  EXPECT_TRUE(fd.IsOpen());
  const Fd kept(dup(0));
  fd.Reset();
  EXPECT_FALSE(IsOpen(0));
  EXPECT_EQ(dup2(kept.Get(), 0), 0);
}

TEST(Fd, MovesItsDescriptor) {
  Fd from(OpenNull());
  const int number = from.Get();
  const Fd to(std::move(from));
  EXPECT_FALSE(from.IsOpen());
  EXPECT_EQ(to.Get(), number);
  EXPECT_TRUE(IsOpen(number));
}

TEST(Fd, AssignmentClosesWhatItHeld) {
  Fd to(OpenNull());
  Fd from(OpenNull());
  const int held = to.Get();
  const int taken = from.Get();
  to = std::move(from);
  EXPECT_FALSE(IsOpen(held));
  EXPECT_EQ(to.Get(), taken);
  EXPECT_FALSE(from.IsOpen());
}

TEST(Fd, SurvivesAssignmentToItself) {
  Fd fd(OpenNull());
  Fd& same = fd;
  fd = std::move(same);
  EXPECT_TRUE(IsOpen(fd.Get()));
}

TEST(Fd, ResetTakesAnotherDescriptor) {
  Fd fd(OpenNull());
  const int other = OpenNull();
  const int held = fd.Get();
  fd.Reset(other);
  EXPECT_FALSE(IsOpen(held));
  EXPECT_EQ(fd.Get(), other);
  fd.Reset();
  EXPECT_FALSE(IsOpen(other));
}

TEST(File, ClosesAtItsEnd) {
  int number = -1;
  {
    const File file(std::fopen("/dev/null", "re"));
    number = fileno(file.get());
    EXPECT_TRUE(IsOpen(number));
  }
  EXPECT_FALSE(IsOpen(number));
}

TEST(File, MayBeNone) {
  const File file(std::fopen("/dev/null/none", "re"));
  EXPECT_EQ(file, nullptr);
}

}  // namespace
}  // namespace wkagent
