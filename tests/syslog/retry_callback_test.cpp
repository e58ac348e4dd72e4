// What the function that sends a line may do during a pass.

#include <stdexcept>
#include <string>
#include <thread>

#include "support/gate.h"
#include "syslog/open_paths.h"
#include "syslog/retry_fixture.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SyslogRetryCallback : public RetryTest {
 protected:
  SyslogRetryCallback() { PutBatchFile("nsa_batch_1", "a\nb\n"); }

  // Lets `act` run before each line is taken.
  template <typename Act>
  void OnEachLine(Act act) {
    handler_.setSenderCallback([this, act](const std::string& line) {
      act();
      return recipient_.Take(line);
    });
  }
};

TEST_F(SyslogRetryCallback, MaySaveLines) {
  OnEachLine([this] { Save({"saved"}); });
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b"));
  EXPECT_EQ(StoredText(), "saved\nsaved\n");
}

TEST_F(SyslogRetryCallback, MaySaveTheLineThatItRefuses) {
  handler_.setSenderCallback([this](const std::string& line) {
    Save({line});
    return false;
  });
  EXPECT_EQ(PassSays(), "Retry failed for file: " + PathOf("nsa_batch_1") + '\n');
  EXPECT_EQ(StoredText(), "a\nb\na\n");
}

TEST_F(SyslogRetryCallback, FindsTheFileThatIsSentInUse) {
  OnEachLine([] { EXPECT_TRUE(IsOpenForThisProcessOnly(kStore / "nsa_batch_")); });
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b"));
}

TEST_F(SyslogRetryCallback, PassThatItAsksForIsThePassUnderWay) {
  OnEachLine([this] { handler_.retryPendingFiles(); });
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b"));
  EXPECT_THAT(BatchFiles(), IsEmpty());
}

TEST_F(SyslogRetryCallback, MayReplaceItself) {
  OnEachLine([this] {
    handler_.setSenderCallback([this](const std::string& line) { return recipient_.Take(line); });
  });
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b"));
}

TEST_F(SyslogRetryCallback, MayTakeItselfAwaySoThatTheRestCountsAsDelivered) {
  OnEachLine([this] { handler_.setSenderCallback(nullptr); });
  EXPECT_THAT(PassOffers(), ElementsAre("a"));
  EXPECT_THAT(BatchFiles(), IsEmpty());
}

TEST_F(SyslogRetryCallback, KnowsThatItRunsInAPass) {
  EXPECT_FALSE(handler_.IsInPass());
  OnEachLine([this] {
    EXPECT_TRUE(handler_.IsInPass());
    std::thread([this] { EXPECT_FALSE(handler_.IsInPass()); }).join();
  });
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b"));
  EXPECT_FALSE(handler_.IsInPass());
}

TEST_F(SyslogRetryCallback, OfOneHandlerIsInNoPassOfAnother) {
  WKSyslogRetryHandler other;
  OnEachLine([&] { EXPECT_FALSE(other.IsInPass()); });
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b"));
}

TEST_F(SyslogRetryCallback, ExceptionLeavesAPassThatTheHostCalled) {
  OnEachLine([] { throw std::runtime_error("no"); });
  EXPECT_THROW(handler_.retryPendingFiles(), std::runtime_error);
  EXPECT_FALSE(handler_.IsInPass());
  EXPECT_EQ(ContentOf("nsa_batch_1"), "a\nb\n");
  Save({"c"});
  OnEachLine([] {});
  EXPECT_THAT(PassOffers(), ElementsAre("a", "b"));
}

TEST_F(SyslogRetryCallback, SaveOfAnotherThreadWaitsForThePass) {
  Gate gate;
  OnEachLine([&] { gate.Pass(); });
  std::thread pass([this] { handler_.retryPendingFiles(); });
  ASSERT_TRUE(gate.WaitForVisitor());
  EXPECT_FALSE(handler_.fileMutex.try_lock());
  std::thread save([this] { Save({"c"}); });
  gate.Open();
  pass.join();
  save.join();
  EXPECT_EQ(StoredText(), "c\n");
}

}  // namespace
}  // namespace wkagent::test
