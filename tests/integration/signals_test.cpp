// A running agent and the signals of its operator.

#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>

#include "integration/agent_test.h"
#include "support/conservation.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

class AgentSignals : public AgentTest {
 protected:
  // Starts the agent; it reads what the test writes and has written events 0 to `count`.
  void StartWith(int count) {
    agent_.emplace(Command("jsonl:-"), Input::kFromTest);
    agent_->Write(Numbered(0, count));
    ASSERT_TRUE(WaitForEvent(count - 1));
  }

  // Asks for the totals.
  Totals TotalsNow() {
    const std::size_t before = TotalsIn(agent_->Output()).size();
    agent_->Signal(SIGUSR1);
    const bool answered = WaitUntil([&] { return TotalsIn(agent_->Output()).size() > before; });
    return answered ? TotalsIn(agent_->Output()).back() : Totals();
  }

  // Sends SIGHUP and waits for the message about it.
  [[nodiscard]] bool ReloadSays(const std::string& message) {
    agent_->Signal(SIGHUP);
    return WaitUntil([&] { return agent_->Errors().find(message) != std::string::npos; });
  }

  // Has the agent read an event of a class.
  void FeedClass(const std::string& name, int number) {
    agent_->Write(JsonLine(
        20001, {{"UserName", "admin.acme"}, {"Class1", name}, {"Object1", NumberedName(number)}}));
  }

  // Ends the feed: the totals.
  Totals Finish() {
    agent_->CloseInput();
    EXPECT_EQ(0, agent_->Wait()) << agent_->Errors();
    ExpectConserved(agent_->Output());
    const std::vector<Totals> all = TotalsIn(agent_->Output());
    return all.empty() ? Totals() : all.back();
  }

  // Has a shell run the agent on a malformed line and three events; `line` stands for how, and
  // writes the agent's status into the file "status".
  std::string StatusInShell(const std::string& line) {
    RunToEnd(Through({"sh", "-c", line, "sh"}, Command("jsonl:-")), "nonsense\n" + Numbered(0, 3),
             HomePath());
    EXPECT_TRUE(WaitUntil([&] { return home_.Read("status").ends_with('\n'); }));
    return home_.Read("status");
  }

  std::optional<Process> agent_;
};

class StopSignal : public AgentSignals, public ::testing::WithParamInterface<int> {};

TEST_P(StopSignal, EndsWellAfterTheEventsThatWereRead) {
  StartWith(40);
  agent_->Signal(GetParam());
  EXPECT_EQ(0, agent_->Wait());
  EXPECT_THAT(TotalsIn(agent_->Output()), ElementsAre(Totals{40, 0, 40, 0, 0, 0}));
  EXPECT_EQ(Range(0, 40), Numbers());
}

TEST_P(StopSignal, EndsAnAgentThatFollowsAnIdleFile) {
  home_.Write("events", Numbered(0, 3));
  Process agent(Command("jsonl:" + home_.Path("events"), {"--follow"}));
  ASSERT_TRUE(WaitForEvent(2));
  agent.Signal(GetParam());
  EXPECT_EQ(0, agent.Wait());
  EXPECT_THAT(TotalsIn(agent.Output()), ElementsAre(Totals{3, 0, 3, 0, 0, 0}));
  EXPECT_EQ(Range(0, 3), Numbers());
}

TEST_P(StopSignal, EndsAnAgentInTheMiddleOfALargeFeed) {
  home_.Write("events", Numbered(0, 200000));
  Process agent(Command("jsonl:" + home_.Path("events")));
  ASSERT_TRUE(WaitUntil([&] { return home_.Archives().size() > 1 || agent.HasEnded(); }));
  agent.Signal(GetParam());
  EXPECT_EQ(0, agent.Wait());
  ASSERT_THAT(TotalsIn(agent.Output()), SizeIs(1));
  const Totals totals = TotalsIn(agent.Output()).back();
  EXPECT_EQ(Range(0, static_cast<int>(totals.kept)), Numbers());
}

INSTANTIATE_TEST_SUITE_P(Signals, StopSignal, ::testing::Values(SIGTERM, SIGINT),
                         [](const auto& test) { return test.param == SIGTERM ? "Term" : "Int"; });

TEST_F(AgentSignals, Usr1PrintsTheTotalsSoFarAndTheAgentGoesOn) {
  StartWith(5);
  EXPECT_EQ((Totals{5, 0, 5, 0, 0, 0}), TotalsNow());
  agent_->Write("nonsense\n" + Numbered(5, 8));
  ASSERT_TRUE(WaitForEvent(7));
  EXPECT_EQ((Totals{8, 1, 8, 0, 0, 0}), TotalsNow());
  EXPECT_EQ((Totals{8, 1, 8, 0, 0, 0}), Finish());
  EXPECT_THAT(TotalsIn(agent_->Output()), SizeIs(3));
}

TEST_F(AgentSignals, Usr1PrintsTheTotalsOfAFollowedFile) {
  home_.Write("events", Numbered(0, 600));
  agent_.emplace(Command("jsonl:" + home_.Path("events"), {"--follow"}));
  ASSERT_TRUE(WaitForEvent(599));
  EXPECT_EQ((Totals{600, 0, 600, 0, 1, 0}), TotalsNow());
  EXPECT_FALSE(agent_->HasEnded());
}

TEST_F(AgentSignals, HangupPutsTheNewFiltersInForce) {
  StartWith(1);
  FeedClass("person", 1);
  ASSERT_TRUE(WaitForEvent(1));
  home_.Write("config/EDAFilter.xml", FilterFile({KeepAll(), DropClass("person")}));
  ASSERT_TRUE(ReloadSays(HomePath() + "/config/EDAFilter.xml: read again, 2 statements"));
  FeedClass("person", 2);
  FeedClass("group", 3);
  EXPECT_EQ((Totals{4, 0, 3, 1, 0, 0}), Finish());
  EXPECT_THAT(Numbers(), ElementsAre(0, 1, 3));
}

TEST_F(AgentSignals, HangupWithAMalformedFilterFileLeavesTheOldFiltersInForceAndSaysSo) {
  home_.Write("config/EDAFilter.xml", FilterFile({KeepAll(), DropClass("person")}));
  StartWith(1);
  home_.Write("config/EDAFilter.xml", "<Filters>\n<Filter\n</Filters>\n");
  ASSERT_TRUE(ReloadSays("the filters read before stay in force"));
  EXPECT_THAT(agent_->Errors(), HasSubstr(HomePath() + "/config/EDAFilter.xml:3"));
  FeedClass("person", 1);
  FeedClass("group", 2);
  EXPECT_EQ((Totals{3, 0, 2, 1, 0, 0}), Finish());
}

TEST_F(AgentSignals, HangupWithoutAFilterFileLeavesTheOldFiltersInForceAndSaysSo) {
  StartWith(1);
  std::filesystem::remove(home_.Path("config/EDAFilter.xml"));
  ASSERT_TRUE(ReloadSays("the filters read before stay in force"));
  EXPECT_THAT(agent_->Errors(), HasSubstr(HomePath() + "/config/EDAFilter.xml"));
  agent_->Write(Numbered(1));
  EXPECT_EQ((Totals{2, 0, 2, 0, 0, 0}), Finish());
}

TEST_F(AgentSignals, FiltersCanBeReadAgainAfterAFailedHangup) {
  StartWith(1);
  home_.Write("config/EDAFilter.xml", "no XML");
  ASSERT_TRUE(ReloadSays("stay in force"));
  home_.Write("config/EDAFilter.xml", FilterFile({KeepAll(), DropClass("person")}));
  ASSERT_TRUE(ReloadSays("read again, 2 statements"));
  FeedClass("person", 1);
  EXPECT_EQ((Totals{2, 0, 1, 1, 0, 0}), Finish());
}

TEST_F(AgentSignals, ManyReloadsLoseNoEvent) {
  StartWith(1);
  for (int number = 1; number < 300; ++number) {
    agent_->Write(Numbered(number));
    agent_->Signal(number % 2 == 0 ? SIGHUP : SIGUSR1);
  }
  EXPECT_EQ((Totals{300, 0, 300, 0, 0, 0}), Finish());
  EXPECT_EQ(Range(0, 300), Numbers());
}

TEST_F(AgentSignals, KilledAgentsRecordsAreArchivedAtTheNextStart) {
  StartWith(30);
  agent_->Signal(SIGKILL);
  agent_->Wait();
  EXPECT_EQ((Totals{5, 0, 5, 0, 1, 0}), Audit(Numbered(30, 35)));
  EXPECT_EQ(Range(0, 35), Numbers());
  EXPECT_THAT(home_.Archives(), SizeIs(1));
}

TEST_F(AgentSignals, ClosedOutputsDoNotSpoilTheAuditFile) {
  EXPECT_EQ("0\n", StatusInShell(R"("$@" >&- 2>&-; echo $? > status)"));
  EXPECT_EQ(Range(0, 3), Numbers());
}

TEST_F(AgentSignals, ReaderOfTheOutputsThatGoesDoesNotEndTheAgent) {
  EXPECT_EQ("0\n", StatusInShell(R"(("$@"; echo $? > status) 2>&1 | true)"));
  EXPECT_EQ(Range(0, 3), Numbers());
}

TEST_F(AgentSignals, OutputsOnAFullDiskDoNotEndTheAgent) {
  EXPECT_EQ("0\n", StatusInShell(R"("$@" > /dev/full 2>&1; echo $? > status)"));
  EXPECT_EQ(Range(0, 3), Numbers());
}

}  // namespace
}  // namespace wkagent::test
