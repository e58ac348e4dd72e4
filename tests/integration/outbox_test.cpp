// An outbox that cannot take files: nothing is lost, and the operator hears of it.

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>

#include "integration/agent_test.h"
#include "support/private_root.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class OutboxTrouble : public AgentTest {
 protected:
  void RemoveOutbox() { std::filesystem::remove_all(home_.Path("outbox")); }
  void MakeOutbox() { std::filesystem::create_directory(home_.Path("outbox")); }

  [[nodiscard]] std::size_t SetAside() const {
    const std::vector<std::string> names = home_.List("tmp");
    return static_cast<std::size_t>(std::count_if(
        names.begin(), names.end(), [](const auto& name) { return name.ends_with(".pending"); }));
  }

  [[nodiscard]] std::vector<int> SortedNumbers() const {
    std::vector<int> numbers = Numbers();
    std::sort(numbers.begin(), numbers.end());
    return numbers;
  }
};

TEST_F(OutboxTrouble, MissingOutboxLosesNoRecord) {
  RemoveOutbox();
  EXPECT_EQ((Totals{1700, 0, 1700, 0, 0, 0}), Audit(Numbered(0, 1700)));
  EXPECT_EQ(Range(0, 1700), SortedNumbers());
  EXPECT_EQ(3U, SetAside());
}

TEST_F(OutboxTrouble, MissingOutboxIsReported) {
  RemoveOutbox();
  const Ended ended = RunAgent("jsonl:-", Numbered(0, 501));
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr("Rename error"));
  EXPECT_THAT(ended.errors, HasSubstr("outbox"));
  EXPECT_THAT(ended.errors, HasSubstr("1 files wait in " + HomePath() + "/tmp"));
}

TEST_F(OutboxTrouble, FilesAreArchivedAtTheNextStart) {
  RemoveOutbox();
  Audit(Numbered(0, 1200));
  MakeOutbox();
  EXPECT_EQ((Totals{1, 0, 1, 0, 3, 0}), Audit(Numbered(1200)));
  EXPECT_EQ(Range(0, 1201), SortedNumbers());
  EXPECT_EQ(0U, SetAside());
  EXPECT_THAT(home_.Archives(), SizeIs(3));
}

TEST_F(OutboxTrouble, FilesAreArchivedAtTheNextRotation) {
  RemoveOutbox();
  Process agent(Command("jsonl:-"), Input::kFromTest);
  agent.Write(Numbered(0, 1100));
  ASSERT_TRUE(WaitForEvent(1099));
  MakeOutbox();
  agent.Write(Numbered(1100, 1600));
  ASSERT_TRUE(WaitForEvent(1599));
  EXPECT_EQ(0U, SetAside());
  agent.CloseInput();
  EXPECT_EQ(0, agent.Wait());
  EXPECT_EQ(3, TotalsIn(agent.Output()).at(0).archived);
  EXPECT_EQ(Range(0, 1600), Numbers());
}

TEST_F(OutboxTrouble, FilesAreArchivedByAnIdleAgent) {
  RemoveOutbox();
  home_.Write("events", Numbered(0, 600));
  Process agent(Command("jsonl:" + home_.Path("events"), {"--follow"}));
  ASSERT_TRUE(WaitForEvent(599));
  MakeOutbox();
  EXPECT_TRUE(WaitUntil([&] { return home_.Archives().size() == 1; }));
  agent.Signal(SIGTERM);
  EXPECT_EQ(0, agent.Wait());
  EXPECT_EQ(Range(0, 600), Numbers());
}

TEST_F(OutboxTrouble, FilesAreArchivedAtTheEnd) {
  RemoveOutbox();
  Process agent(Command("jsonl:-"), Input::kFromTest);
  agent.Write(Numbered(0, 600));
  ASSERT_TRUE(WaitForEvent(599));
  MakeOutbox();
  agent.CloseInput();
  EXPECT_EQ(0, agent.Wait());
  EXPECT_EQ(0U, SetAside());
  EXPECT_EQ(Range(0, 600), Numbers());
}

TEST_F(OutboxTrouble, FilesWaitOverSeveralStartsWithoutOutbox) {
  RemoveOutbox();
  for (int start = 0; start < 3; ++start) Audit(Numbered(700 * start, 700 * (start + 1)));
  EXPECT_EQ(Range(0, 2100), SortedNumbers());
  MakeOutbox();
  Audit("");
  EXPECT_EQ(Range(0, 2100), SortedNumbers());
  EXPECT_EQ(0U, SetAside());
}

TEST_F(OutboxTrouble, FileInPlaceOfTheOutboxLosesNoRecord) {
  RemoveOutbox();
  home_.Write("outbox", "a file");
  EXPECT_EQ((Totals{600, 0, 600, 0, 0, 0}), Audit(Numbered(0, 600)));
  EXPECT_EQ("a file", home_.Read("outbox"));
  EXPECT_EQ(Range(0, 600), SortedNumbers());
}

TEST_F(OutboxTrouble, ReadOnlyOutboxLosesNoRecord) {
  InPrivateRoot([this] {
    MountReadOnly(home_.Path("outbox"));
    EXPECT_EQ((Totals{600, 0, 600, 0, 0, 0}), Audit(Numbered(0, 600)));
    EXPECT_THAT(home_.Archives(), IsEmpty());
    EXPECT_EQ(Range(0, 600), SortedNumbers());
  });
  EXPECT_EQ((Totals{0, 0, 0, 0, 2, 0}), Audit(""));
  EXPECT_EQ(Range(0, 600), SortedNumbers());
}

TEST_F(OutboxTrouble, OutboxOnAnotherDiskLosesNoRecord) {
  InPrivateRoot([this] {
    MountTmpfs(home_.Path("outbox"), "size=8m");
    Audit(Numbered(0, 600));
    Audit(Numbered(600, 1300));
    EXPECT_EQ(Range(0, 1300), SortedNumbers());
  });
}

TEST_F(OutboxTrouble, ArchivesOfOneSecondDoNotReplaceEachOther) {
  const Totals totals = Audit(Numbered(0, 10001));
  EXPECT_EQ(20, totals.archived);
  EXPECT_THAT(home_.Archives(), SizeIs(20));
  EXPECT_EQ(Range(0, 10001), Numbers());
}

TEST_F(OutboxTrouble, ReceiverMayTakeArchivesAwayAtAnyTime) {
  Process agent(Command("jsonl:-"), Input::kFromTest);
  std::filesystem::create_directory(home_.Path("taken"));
  std::size_t taken = 0;
  for (int number = 0; number < 3000; number += 500) {
    agent.Write(Numbered(number, number + 500));
    ASSERT_TRUE(WaitForEvent(number + 499));
    for (const std::string& name : home_.Archives()) {
      std::filesystem::rename(home_.Path("outbox/" + name),
                              home_.Path("taken/" + std::to_string(taken++)));
    }
  }
  agent.CloseInput();
  EXPECT_EQ(0, agent.Wait());
  EXPECT_EQ(5U, taken);
  EXPECT_EQ(Range(2500, 3000), Numbers());
}

}  // namespace
}  // namespace wkagent::test
