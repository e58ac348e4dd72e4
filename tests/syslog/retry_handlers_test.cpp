// Several handlers that meet in the folder of batch files.

#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>

#include "core/handles.h"
#include "support/gate.h"
#include "syslog/retry_fixture.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class SyslogRetryHandlers : public RetryTest {
 protected:
  // The second handler sends to the same recipient.
  SyslogRetryHandlers() {
    second_.setSenderCallback([this](const std::string& line) { return recipient_.Take(line); });
  }

  std::vector<std::string> SecondPassOffers() {
    second_.retryPendingFiles();
    return recipient_.Offered();
  }

  WKSyslogRetryHandler second_;
};

// What another process does that writes or sends a batch file.
Fd Locked(const std::string& name) {
  Fd file(open(PathOf(name).c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(flock(file.Get(), LOCK_EX | LOCK_NB), 0) << name;
  return file;
}

TEST_F(SyslogRetryHandlers, WriteFilesOfTheirOwn) {
  Save({"first"});
  EXPECT_TRUE(second_.saveToBatchFile("second"));
  Save({"first again"});
  ASSERT_THAT(BatchFiles(), SizeIs(2));
  EXPECT_EQ(ReadFile(CurrentPath()), "first\nfirst again\n");
  EXPECT_EQ(StoredText().size(), std::string("first\nfirst again\nsecond\n").size());
}

// The first must be of the same second as the second's, as only then the names would be equal.
TEST_F(SyslogRetryHandlers, PassOverANameThatTheOtherHas) {
  bool met = false;
  for (int i = 0; i < 20 && !met; ++i) {
    WKSyslogRetryHandler one;
    WKSyslogRetryHandler other;
    EXPECT_TRUE(one.saveToBatchFile("one"));
    EXPECT_TRUE(other.saveToBatchFile("other"));
    met = CounterOf(other) == 2;
    EXPECT_EQ(CounterOf(one), 1);
  }
  EXPECT_TRUE(met);
}

TEST_F(SyslogRetryHandlers, DoNotSendTheFileThatTheOtherIsWriting) {
  Save({"current"});
  EXPECT_EQ(RetrySays([this] { second_.retryPendingFiles(); }), "");
  EXPECT_THAT(recipient_.Offered(), IsEmpty());
  EXPECT_EQ(StoredText(), "current\n");
}

TEST_F(SyslogRetryHandlers, SendTheFileThatTheOtherHasClosed) {
  Save({"closed"});
  handler_.shutdown();
  EXPECT_THAT(SecondPassOffers(), ElementsAre("closed"));
  EXPECT_THAT(BatchFiles(), IsEmpty());
}

TEST_F(SyslogRetryHandlers, SendTheFullFileOfTheOther) {
  Save(Numbered("line", WKSyslogRetryHandler::MAX_LINES_PER_BATCH_FILE));
  Save({"current"});
  EXPECT_THAT(SecondPassOffers(), SizeIs(WKSyslogRetryHandler::MAX_LINES_PER_BATCH_FILE));
  EXPECT_EQ(StoredText(), "current\n");
}

TEST_F(SyslogRetryHandlers, LeaveALockedFileAloneSilently) {
  PutBatchFile("nsa_batch_1", "a\n");
  PutBatchFile("nsa_batch_2", "b\n");
  {
    const Fd lock = Locked("nsa_batch_1");
    EXPECT_EQ(PassSays(), "");
    EXPECT_THAT(recipient_.Offered(), ElementsAre("b"));
    EXPECT_THAT(BatchFiles(), ElementsAre("nsa_batch_1"));
  }
  EXPECT_THAT(PassOffers(), ElementsAre("a"));
}

TEST_F(SyslogRetryHandlers, LockTheFileThatTheyWrite) {
  Save({"a"});
  const Fd file(open(CurrentPath().c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_NE(flock(file.Get(), LOCK_EX | LOCK_NB), 0);
  handler_.shutdown();
  EXPECT_EQ(flock(file.Get(), LOCK_EX | LOCK_NB), 0);
}

TEST_F(SyslogRetryHandlers, DoNotSendWhatTheOtherIsSending) {
  PutBatchFile("nsa_batch_1", "a\n");
  PutBatchFile("nsa_batch_2", "b\n");
  Gate gate;
  handler_.setSenderCallback([&](const std::string& line) {
    gate.Pass();
    return recipient_.Take(line);
  });
  std::thread pass([this] { handler_.retryPendingFiles(); });
  ASSERT_TRUE(gate.WaitForVisitor());
  EXPECT_THAT(SecondPassOffers(), ElementsAre("b"));
  gate.Open();
  pass.join();
  EXPECT_THAT(recipient_.Offered(), ElementsAre("a"));
  EXPECT_THAT(BatchFiles(), IsEmpty());
}

// What each pass has listed may be gone when it gets there.
TEST_F(SyslogRetryHandlers, SendEachLineOnceWhenTheyRunSideBySide) {
  std::vector<std::string> lines = Numbered("line", 400);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    PutBatchFile("nsa_batch_" + std::to_string(i), lines[i] + '\n');
  }
  EXPECT_EQ(RetrySays([this] {
              std::thread pass([this] { handler_.retryPendingFiles(); });
              second_.retryPendingFiles();
              pass.join();
            }),
            "");
  EXPECT_THAT(recipient_.Offered(), testing::UnorderedElementsAreArray(lines));
  EXPECT_THAT(BatchFiles(), IsEmpty());
}

}  // namespace
}  // namespace wkagent::test
