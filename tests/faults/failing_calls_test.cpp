// The failing_calls library itself.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "faults/fault.h"
#include "support/agent_home.h"

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class FailingCalls : public ::testing::Test {
 protected:
  static constexpr int kKilled = 128 + 9;

  // Runs the sample with this fault, in a fresh folder.
  Ended Run(const Fault& fault) {
    AgentHome home;
    const Ended ended =
        RunToEnd(WithFault(fault, home.Path("report"), {WKAGENT_CALLS_SAMPLE, home.Path("tmp")}));
    report_ = ReadFaultReport(home.Path("report"));
    made_ = home.Exists("tmp/made");
    return ended;
  }

  FaultReport report_;
  bool made_ = false;
};

TEST_F(FailingCalls, AreCountedByKind) {
  EXPECT_EQ(0, Run({}).status);
  EXPECT_EQ(0, report_.hits);
  for (const char* once : {"mkdir", "rename", "unlink", "write", "read", "sync", "truncate", "lock",
                           "send", "socket", "pthread_create"}) {
    EXPECT_EQ(1, report_.calls[once]) << once;
  }
  EXPECT_EQ(2, report_.calls["open"]);
}

TEST_F(FailingCalls, FailWithTheErrorThatIsAskedFor) {
  EXPECT_THAT(Run({.call = "mkdir", .act = "errno:ENOSPC"}).output,
              HasSubstr("mkdir No space left on device"));
  EXPECT_EQ(1, report_.hits);
  EXPECT_THAT(Run({.call = "rename", .act = "errno:EXDEV"}).output,
              HasSubstr("rename Invalid cross-device link"));
  EXPECT_THAT(Run({.call = "unlink", .act = "errno:EROFS"}).output,
              HasSubstr("remove Read-only file system"));
  EXPECT_THAT(Run({.call = "lock", .act = "errno:EINTR"}).output,
              HasSubstr("lock Interrupted system call"));
}

TEST_F(FailingCalls, AreTheNthAndSoManyAfterIt) {
  EXPECT_THAT(Run({.call = "open", .nth = 2}).output, HasSubstr("open done"));
  EXPECT_EQ(1, report_.hits);
  EXPECT_THAT(Run({.call = "open", .times = 0}).output, HasSubstr("append Input/output error"));
  EXPECT_EQ(2, report_.hits);
  EXPECT_THAT(Run({.call = "open", .nth = 3}).output, Not(HasSubstr("error")));
  EXPECT_EQ(0, report_.hits);
}

TEST_F(FailingCalls, TakeLessThanTheyAreGiven) {
  EXPECT_THAT(Run({.call = "write", .act = "short"}).output, HasSubstr("wrote 4"));
  EXPECT_THAT(Run({.call = "send", .act = "short"}).output, HasSubstr("sent 4"));
  EXPECT_THAT(Run({.call = "read", .act = "short"}).output, HasSubstr("read 4"));
}

TEST_F(FailingCalls, KillBeforeAndAfterThem) {
  EXPECT_EQ(kKilled, Run({.call = "mkdir", .act = "kill-before"}).status);
  EXPECT_FALSE(made_);
  EXPECT_EQ(1, report_.hits);
  EXPECT_EQ(kKilled, Run({.call = "mkdir", .act = "kill-after"}).status);
  EXPECT_TRUE(made_);
  EXPECT_EQ(1, report_.hits);
}

TEST_F(FailingCalls, LeaveOutFilesElsewhere) {
  EXPECT_THAT(Run({.call = "mkdir", .under = "/nowhere"}).output, HasSubstr("mkdir done"));
  EXPECT_EQ(0, report_.calls["mkdir"]);
  EXPECT_EQ(0, report_.calls["write"]);
}

TEST_F(FailingCalls, LetMemoryRunOut) {
  Run({});
  const long allocations = report_.calls["allocate"];
  bool failed = false;
  for (int n = 1; n <= allocations && !failed; ++n) {
    failed =
        Run({.call = "allocate", .nth = n, .act = "errno:ENOMEM"}).output.find("allocate failed") !=
        std::string::npos;
  }
  EXPECT_TRUE(failed);
}

TEST_F(FailingCalls, LetAThreadNotStart) {
  EXPECT_THAT(Run({.call = "pthread_create", .act = "errno:EAGAIN"}).output,
              HasSubstr("thread failed"));
}

TEST_F(FailingCalls, LoseWhatAStreamHasNotWritten) {
  EXPECT_THAT(Run({.call = "stream", .nth = 2, .act = "errno:ENOSPC"}).output,
              HasSubstr("close No space left on device"));
}

TEST_F(FailingCalls, RefuseAPlanThatIsNotUnderstood) {
  EXPECT_EQ(125, Run({.call = "no-such-call"}).status);
  EXPECT_EQ(125, Run({.call = "open", .act = "errno:NOSUCH"}).status);
}

}  // namespace
}  // namespace wkagent::test
