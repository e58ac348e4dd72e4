// The place in a feed's file: where an agent goes on after it was stopped or killed.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>

#include "integration/agent_test.h"
#include "support/conservation.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr char kPosition[] = "tmp/followed.position";

class FeedPlaces : public AgentTest {
 protected:
  // Follows the feed until this event has been written.
  void Follow(int until, const std::vector<std::string>& more = {}) {
    FollowFile(feed_, until, more);
  }

  void FollowFile(const std::string& path, int until, const std::vector<std::string>& more = {}) {
    std::vector<std::string> options = {"--follow"};
    options.insert(options.end(), more.begin(), more.end());
    agent_.emplace(Command("jsonl:" + path, options));
    // The live file of an earlier one has been archived by then.
    const std::string started = "wkagentd started, process " + std::to_string(agent_->Id()) + ",";
    ASSERT_TRUE(WaitUntil([&] {
      return home_.Read("tmp/wkagentd.status").find(started) != std::string::npos;
    })) << agent_->Errors();
    ASSERT_TRUE(WaitForEvent(until)) << agent_->Errors();
  }

  // Ends the agent: its messages.
  std::string Stop() {
    agent_->Signal(SIGTERM);
    EXPECT_EQ(0, agent_->Wait()) << agent_->Errors();
    ExpectConserved(agent_->Output());
    return agent_->Errors();
  }

  void Kill() {
    agent_->Signal(SIGKILL);
    EXPECT_EQ(128 + SIGKILL, agent_->Wait());
  }

  void Append(const std::string& text) const {
    std::ofstream(feed_, std::ios::app | std::ios::binary) << text;
  }

  void Rotate(const std::string& text) const {
    std::filesystem::rename(feed_, feed_ + ".1");
    home_.Write("events", text);
  }

  [[nodiscard]] Totals TotalsOfStop() {
    Stop();
    return TotalsIn(agent_->Output()).at(0);
  }

  const std::string feed_ = home_.Path("events");
  std::optional<Process> agent_;
};

TEST_F(FeedPlaces, AStoppedAgentGoesOnWhereItWas) {
  home_.Write("events", Numbered(0, 30) + Numbered(30).substr(0, 12));
  Follow(29);
  Stop();
  Append(Numbered(30).substr(12) + Numbered(31, 40));
  Follow(39);
  EXPECT_EQ(10, TotalsOfStop().read);
  EXPECT_EQ(Range(0, 40), Numbers());
}

TEST_F(FeedPlaces, AKilledAgentGoesOnWithoutLossOrDouble) {
  home_.Write("events", Numbered(0, 730));
  Follow(729);
  Kill();
  Append(Numbered(730, 800));
  Follow(799);
  Stop();
  EXPECT_EQ(Range(0, 800), Numbers());
}

TEST_F(FeedPlaces, WhatWasWrittenBehindThePositionIsCutOffAndReadAgain) {
  home_.Write("events", Numbered(0, 5));
  Follow(4);
  ASSERT_TRUE(
      WaitUntil([&] { return home_.Read(kPosition).find("\nplace 0 ") == std::string::npos; }));
  const std::string position = home_.Read(kPosition);
  Append(Numbered(5, 9));
  ASSERT_TRUE(WaitForEvent(8));
  Kill();
  home_.Write(kPosition, position);  // as if the last one had not come to the disk
  Follow(8);
  EXPECT_THAT(Stop(), HasSubstr("tmp/EDALive.xml: "));
  EXPECT_EQ(Range(0, 9), Numbers());
}

TEST_F(FeedPlaces, LinesAreCountedOn) {
  home_.Write("events", Numbered(0, 4));
  Follow(3);
  Stop();
  Append("nonsense\n" + Numbered(4));
  Follow(4);
  EXPECT_THAT(Stop(), HasSubstr(feed_ + ":5: "));
}

TEST_F(FeedPlaces, AFileThatWasRotatedMeanwhileIsReadToItsEnd) {
  home_.Write("events", Numbered(0, 20));
  Follow(19);
  Stop();
  Append(Numbered(20, 30));
  Rotate(Numbered(30, 40));
  Follow(39);
  Stop();
  EXPECT_EQ(Range(0, 40), Numbers());
}

TEST_F(FeedPlaces, ACopyThatARotationMadeIsReadToItsEnd) {
  home_.Write("events", Numbered(0, 20));
  Follow(19);
  Stop();
  Append(Numbered(20, 30));
  std::filesystem::copy(feed_, feed_ + ".1");
  home_.Write("events", Numbered(30, 40));
  Follow(39);
  Stop();
  EXPECT_EQ(Range(0, 40), Numbers());
}

TEST_F(FeedPlaces, AFileThatIsNotFoundAgainIsReportedAndNothingIsCutOff) {
  home_.Write("events", Numbered(0, 20));
  Follow(19);
  Kill();
  std::filesystem::remove(feed_);
  home_.Write("events", Numbered(20, 30));
  Follow(29);
  EXPECT_THAT(Stop(), AllOf(HasSubstr("the file that was read is no longer beside jsonl:" + feed_),
                            Not(HasSubstr("cut off"))));
  EXPECT_TRUE(home_.Exists(std::string(kPosition) + ".unused"));
  EXPECT_EQ(Range(0, 30), Numbers());
}

TEST_F(FeedPlaces, AFileWithNewContentIsReadFromItsBeginning) {
  home_.Write("events", Numbered(0, 20));
  Follow(19);
  Stop();
  std::string other = Numbered(20, 60);
  home_.Write("events", other);  // the same file, of another beginning and longer
  Follow(59);
  Stop();
  EXPECT_EQ(Range(0, 60), Numbers());
}

TEST_F(FeedPlaces, ThePositionOfAnotherFeedIsSetAside) {
  home_.Write("events", Numbered(0, 5));
  Follow(4);
  Stop();
  home_.Write("other", Numbered(5, 9));
  FollowFile(home_.Path("other"), 8);
  EXPECT_THAT(Stop(), HasSubstr("followed.position: not the position of jsonl:"));
  EXPECT_EQ(Range(0, 9), Numbers());
}

TEST_F(FeedPlaces, GarbageIsSetAside) {
  home_.Write("events", Numbered(0, 5));
  const std::string title = "wkagent feed position 1\n";
  for (const std::string& text : {std::string(), std::string("garbage\n"), title}) {
    home_.Write(kPosition, text);
    Follow(4);
    EXPECT_THAT(Stop(), HasSubstr("not the position of"));
  }
  home_.Write(kPosition, "wkagent feed position 1\njsonl:" + feed_ + "\nfile 1 2 3 4\nplace 5 6\n");
  Follow(4);
  EXPECT_THAT(Stop(), HasSubstr("not the position of"));
}

TEST_F(FeedPlaces, FromStartReadsEverythingAgain) {
  home_.Write("events", Numbered(0, 5));
  Follow(4);
  Stop();
  Follow(4, {"--from-start"});
  EXPECT_THAT(Stop(), HasSubstr("is read from its beginning"));
  EXPECT_THAT(Numbers(), ElementsAre(0, 1, 2, 3, 4, 0, 1, 2, 3, 4));
}

TEST_F(FeedPlaces, AFileThatIsReadOnceIsReadAgainByTheSameCommand) {
  home_.Write("events", Numbered(0, 600));
  for (int run = 0; run < 2; ++run) {
    const Ended ended = RunAgent("jsonl:" + feed_);
    EXPECT_EQ(600, TotalsIn(ended.output).at(0).kept);
    EXPECT_FALSE(home_.Exists("tmp/read.position"));
  }
  EXPECT_EQ(1200U, Numbers().size());
}

TEST_F(FeedPlaces, AFileThatIsReadOnceLeavesThePlaceOfTheFollowedOneAlone) {
  home_.Write("events", Numbered(0, 5));
  Follow(4);
  Stop();
  EXPECT_EQ(5, TotalsIn(RunAgent("jsonl:" + feed_).output).at(0).kept);
  Append(Numbered(5));
  Follow(5);
  EXPECT_EQ(1, TotalsOfStop().read);
}

TEST_F(FeedPlaces, WhatAnotherFeedHasWrittenIsNotCutOff) {
  home_.Write("events", Numbered(0, 5));
  Follow(4);
  Stop();
  Audit(Numbered(5, 9));  // from standard input
  Append(Numbered(9));
  Follow(9);
  Stop();
  EXPECT_EQ(Range(0, 10), Numbers());
}

TEST_F(FeedPlaces, AnInterruptedReadingGoesOn) {
  home_.Write("events", Numbered(0, 200000));
  Process agent(Command("jsonl:" + feed_));
  ASSERT_TRUE(WaitUntil([&] { return home_.Archives().size() > 1 || agent.HasEnded(); }));
  agent.Signal(SIGTERM);
  EXPECT_EQ(0, agent.Wait());
  ASSERT_TRUE(home_.Exists("tmp/read.position"));
  EXPECT_EQ(0, RunAgent("jsonl:" + feed_).status);
  EXPECT_EQ(Range(0, 200000), Numbers());
  EXPECT_FALSE(home_.Exists("tmp/read.position"));
}

TEST_F(FeedPlaces, AFifoKeepsNone) {
  EXPECT_EQ(3, Audit(Numbered(0, 3)).kept);
  for (const std::string& name : home_.List("tmp")) {
    EXPECT_THAT(name, Not(HasSubstr("position")));
  }
}

TEST_F(FeedPlaces, APositionThatCannotBeSavedIsReported) {
  home_.Write("events", Numbered(0, 3));
  std::filesystem::create_directory(home_.Path(std::string(kPosition) + ".new"));
  Follow(2);
  EXPECT_THAT(Stop(), HasSubstr("followed.position: Is a directory; after a restart"));
}

}  // namespace
}  // namespace wkagent::test
