// Filter and settings files that change while the agent works.

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <sstream>
#include <string>

#include "integration/agent_test.h"
#include "support/conservation.h"
#include "support/local_time.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;

class ReloadTest : public AgentTest {
 protected:
  // Replaces a file of the home at once, as a careful editor does.
  void Replace(const std::string& name, const std::string& text) const {
    home_.Write("bin/new", text);
    std::filesystem::rename(home_.Path("bin/new"), home_.Path(name));
  }

  [[nodiscard]] static int Count(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
      ++count;
    }
    return count;
  }

  [[nodiscard]] static bool WaitForMessage(const Process& agent, const std::string& text,
                                           int times = 1) {
    return WaitUntil([&] { return Count(agent.Errors(), text) >= times; });
  }

  void Stop(Process& agent) {
    agent.CloseInput();
    EXPECT_EQ(0, agent.Wait()) << agent.Errors();
  }
};

TEST_F(ReloadTest, AFilterThatIsWrittenInPlaceIsTakenOver) {
  Process agent(Command("jsonl:-"), Input::kFromTest);
  agent.Write(Numbered(0));
  ASSERT_TRUE(WaitForEvent(0));
  home_.Write("config/EDAFilter.xml", FilterFile({KeepAll(), DropClass("x")}));
  EXPECT_TRUE(WaitForMessage(agent, "EDAFilter.xml: read again, 2 statements"));
  Stop(agent);
}

TEST_F(ReloadTest, AFilterThatIsReplacedIsTakenOver) {
  Process agent(Command("jsonl:-"), Input::kFromTest);
  agent.Write(Numbered(0));
  ASSERT_TRUE(WaitForEvent(0));
  Replace("config/EDAFilter.xml", FilterFile({KeepAll(), DropClass("x")}));
  EXPECT_TRUE(WaitForMessage(agent, "EDAFilter.xml: read again, 2 statements"));
  Stop(agent);
}

TEST_F(ReloadTest, ABrokenFilterLeavesTheOldInForceAndSaysWhy) {
  Process agent(Command("jsonl:-"), Input::kFromTest);
  agent.Write(Numbered(0));
  ASSERT_TRUE(WaitForEvent(0));
  Replace("config/EDAFilter.xml", "<Filters>\n<Filter a=\"1\" a=\"2\"/></Filters>");
  EXPECT_TRUE(WaitForMessage(agent, HomePath() + "/config/EDAFilter.xml:2: "));
  EXPECT_TRUE(WaitForMessage(agent, "; the filters read before stay in force"));
  agent.Write(Numbered(1));
  EXPECT_TRUE(WaitForEvent(1));
  Stop(agent);
  EXPECT_THAT(home_.Read("tmp/wkagentd.status"), HasSubstr("stay in force"));
}

TEST_F(ReloadTest, AChangedThresholdCountsAtOnce) {
  Process agent(Command("jsonl:-"), Input::kFromTest);
  agent.Write(Numbered(0, 10));
  ASSERT_TRUE(WaitForEvent(9));
  Replace("config/DaemonSettings.xml", "<S><ArmThreshold>4</ArmThreshold></S>");
  EXPECT_TRUE(WaitForMessage(agent, "/config: settings read again"));
  EXPECT_TRUE(WaitUntil([&] { return home_.Archives().size() == 1; }));
  agent.Write(Numbered(10, 15));
  ASSERT_TRUE(WaitForEvent(14));
  EXPECT_EQ(2U, home_.Archives().size());
  Stop(agent);
  EXPECT_EQ(Range(0, 15), Numbers());
}

TEST_F(ReloadTest, ABrokenSettingsFileLeavesTheOldInForceAndSaysWhy) {
  home_.Write("config/DaemonSettings.xml", "<S><ArmThreshold>4</ArmThreshold></S>");
  Process agent(Command("jsonl:-"), Input::kFromTest);
  agent.Write(Numbered(0));
  ASSERT_TRUE(WaitForEvent(0));
  Replace("config/DaemonSettings.xml", "<S>\n</T>");
  EXPECT_TRUE(WaitForMessage(agent, HomePath() + "/config/DaemonSettings.xml:2: "));
  EXPECT_TRUE(WaitForMessage(agent, "; the settings read before stay in force"));
  agent.Write(Numbered(1, 10));
  ASSERT_TRUE(WaitForEvent(9));
  EXPECT_EQ(2U, home_.Archives().size());
  Stop(agent);
}

TEST_F(ReloadTest, BrokenSettingsAtTheStartAreBadConfiguration) {
  home_.Write("config/WKMemorySettings.xml", "<S>");
  const Ended ended = RunAgent("jsonl:-", Numbered(0));
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr(HomePath() + "/config/WKMemorySettings.xml:1: "));
}

TEST_F(ReloadTest, APoolOfOneBlockLosesNothing) {
  home_.Write("config/WKMemorySettings.xml", "<S><MaxEDIRMemoryBlocks>1</MaxEDIRMemoryBlocks></S>");
  EXPECT_EQ((Totals{2000, 0, 2000, 0, 3, 0}), Audit(Numbered(0, 2000)));
}

// A time zone in which a new day begins in so many seconds.
std::string ZoneWithMidnightIn(int seconds) {
  constexpr int kDay = 86'400;
  // In a POSIX time zone the offset is what local time lacks to UTC.
  const int now = static_cast<int>(std::time(nullptr) % kDay);
  const int offset = (now + seconds) % kDay;
  char zone[32];
  std::snprintf(zone, sizeof(zone), "XXX%d:%02d:%02d", offset / 3600, offset / 60 % 60,
                offset % 60);
  return zone;
}

TEST_F(ReloadTest, FiltersAreReadAgainAtLocalMidnight) {
  home_.Write("config/ELAFilter.xml", "<F><Filter Enabled=\"1\"/></F>");
  const TimeZone zone(ZoneWithMidnightIn(6).c_str());
  Process agent(Command("jsonl:-"), Input::kFromTest);
  EXPECT_TRUE(WaitForMessage(agent, "EDAFilter.xml: read again, 1 statements"));
  EXPECT_TRUE(WaitForMessage(agent, "ELAFilter.xml: read again, 1 statements"));
  Stop(agent);
  EXPECT_EQ(1, Count(agent.Errors(), "EDAFilter.xml: read again"));
}

// Two filters in turn, one for the events of even numbers and one for those of odd ones: in what is
// kept, nothing may be missing but what fell between the two at a change.
class ReloadUnderLoad : public ReloadTest {
 protected:
  static constexpr int kReplacements = 50;
  static constexpr int kEvents = 1'000'000;
  static constexpr int kEventsBetween = kEvents / kReplacements;

  [[nodiscard]] static std::string FilterFor(int turn) {
    return FilterFile({KeepAll(), DropClass(turn % 2 == 0 ? "odd" : "even")});
  }

  [[nodiscard]] static std::string Events(int first, int end) {
    std::string lines;
    for (int i = first; i < end; ++i) {
      lines += "{\"EventID\":20001,\"UserName\":\"a\",\"EventTime\":1,\"Class1\":\"";
      lines += i % 2 == 0 ? "even" : "odd";
      lines += "\",\"Object1\":\"" + NumberedName(i) + "\"}\n";
    }
    return lines;
  }

  // What tests/integration/kept_order.py says of the audit files.
  [[nodiscard]] std::string KeptOrder() const {
    std::vector<std::string> command = {WKAGENT_PYTHON, "-I",
                                        WKAGENT_SOURCE_DIR "/tests/integration/kept_order.py"};
    for (const std::string& file : AuditFiles()) command.push_back(file);
    return OutputOf(command);
  }
};

TEST_F(ReloadUnderLoad, EachEventIsDecidedByOneFilterOrTheNext) {
  home_.Write("config/EDAFilter.xml", FilterFor(0));
  Process agent(Command("jsonl:-"), Input::kFromTest);
  for (int turn = 1; turn <= kReplacements; ++turn) {
    const int first = (turn - 1) * kEventsBetween;
    agent.Write(Events(first, first + kEventsBetween / 2));
    if (turn % 3 == 0) {
      home_.Write("config/EDAFilter.xml", FilterFor(turn));
    } else {
      Replace("config/EDAFilter.xml", FilterFor(turn));
    }
    agent.Write(Events(first + kEventsBetween / 2, first + kEventsBetween));
    ASSERT_TRUE(WaitForMessage(agent, "read again, 2 statements", turn));
  }
  Stop(agent);
  const Totals totals = TotalsIn(agent.Output()).at(0);
  ExpectConserved(agent.Output());
  EXPECT_EQ(kEvents, totals.read);
  EXPECT_EQ(kEvents, totals.kept + totals.dropped);
  std::istringstream order(KeptOrder());
  std::string name;
  int records = 0;
  int disorder = 0;
  int switches = 0;
  int oddPairs = 0;
  order >> name >> records >> name >> disorder >> name >> switches >> name >> oddPairs;
  EXPECT_EQ(totals.kept, records);
  EXPECT_EQ(0, disorder);
  EXPECT_LE(switches, kReplacements);
  EXPECT_GE(switches, kReplacements - 1);  // the last may come after the last event
  EXPECT_LE(oddPairs, switches);
}

}  // namespace
}  // namespace wkagent::test
