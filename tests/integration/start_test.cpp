// How the agent starts, and what it says where it cannot.

#include <csignal>
#include <filesystem>
#include <ostream>

#include <wkagent/version.h>

#include "integration/agent_test.h"

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

class AgentStart : public AgentTest {
 protected:
  // Runs the agent on a feed without events.
  [[nodiscard]] Ended Start() const { return RunAgent("jsonl:/dev/null"); }

  [[nodiscard]] std::string FilterPath() const { return HomePath() + "/config/EDAFilter.xml"; }
};

TEST(AgentCommandLine, HelpNamesOptionsFeedsSignalsAndExitStatus) {
  const Ended ended = RunToEnd({WKAGENT_AGENT, "--help"});
  EXPECT_EQ(0, ended.status);
  for (const char* word : {"--home", "--feed", "--follow", "--version", "auditlog:", "jsonl:",
                           "SIGTERM", "SIGHUP", "SIGUSR1", "64", "66", "70", "73", "78"}) {
    EXPECT_THAT(ended.output, HasSubstr(word));
  }
  EXPECT_THAT(ended.errors, IsEmpty());
}

TEST(AgentCommandLine, VersionIsTheLibrarys) {
  const Ended ended = RunToEnd({WKAGENT_AGENT, "--version"});
  EXPECT_EQ(0, ended.status);
  EXPECT_EQ("wkagentd " WKAGENT_VERSION "\n", ended.output);
  EXPECT_THAT(ended.errors, IsEmpty());
}

struct CommandLine {
  const char* name;
  std::vector<std::string> arguments;
};

void PrintTo(const CommandLine& line, std::ostream* out) { *out << line.name; }

class WrongUsage : public ::testing::TestWithParam<CommandLine> {};

TEST_P(WrongUsage, IsExplainedOnStandardErrorWithStatus64) {
  const Ended ended = RunToEnd(Through({WKAGENT_AGENT}, GetParam().arguments), {}, "/");
  EXPECT_EQ(64, ended.status);
  EXPECT_THAT(ended.output, IsEmpty());
  EXPECT_THAT(ended.errors, HasSubstr("--"));
}

INSTANTIATE_TEST_SUITE_P(
    CommandLines, WrongUsage,
    ::testing::Values(CommandLine{"Nothing", {}}, CommandLine{"NoFeed", {"--home", "."}},
                      CommandLine{"NoHome", {"--feed", "jsonl:-"}},
                      CommandLine{"UnknownKind", {"--home", ".", "--feed", "syslog:/dev/null"}},
                      CommandLine{"NoKind", {"--home", ".", "--feed", "/dev/null"}},
                      CommandLine{"NoPath", {"--home", ".", "--feed", "jsonl:"}},
                      CommandLine{"KindAlone", {"--home", ".", "--feed", "jsonl"}},
                      CommandLine{"EmptyFeed", {"--home", ".", "--feed", ""}},
                      CommandLine{"FeedWithoutValue", {"--home", ".", "--feed"}},
                      CommandLine{"Unknown", {"--home", ".", "--feed", "jsonl:-", "--every-day"}},
                      CommandLine{"TooMuch", {"--home", ".", "--feed", "jsonl:-", "more"}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(AgentStart, MissingFeedIsNamedWithStatus66) {
  const Ended ended = RunAgent("auditlog:" + home_.Path("nowhere.ldif"));
  EXPECT_EQ(66, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr(home_.Path("nowhere.ldif") + ": No such file"));
}

TEST_F(AgentStart, FeedThatIsAFolderIsNamedWithStatus66) {
  const Ended ended = RunAgent("jsonl:" + home_.Path("outbox"));
  EXPECT_EQ(66, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr(home_.Path("outbox") + ": Is a directory"));
}

TEST_F(AgentStart, MissingFeedIsNoReasonToTouchTheHome) {
  home_.Write("tmp/EDALive.xml", "left by another");
  EXPECT_EQ(66, RunAgent("jsonl:" + home_.Path("nowhere")).status);
  EXPECT_EQ("left by another", home_.Read("tmp/EDALive.xml"));
}

TEST_F(AgentStart, MissingHomeIsNamedWithStatus78) {
  const std::string home = home_.Path("nowhere");
  const Ended ended = RunToEnd({WKAGENT_AGENT, "--home", home, "--feed", "jsonl:-"});
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr(home));
}

class MissingFolder : public AgentStart, public ::testing::WithParamInterface<const char*> {};

TEST_P(MissingFolder, IsNamedWithStatus78) {
  std::filesystem::remove_all(home_.Path(GetParam()));
  const Ended ended = Start();
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr(HomePath() + "/" + GetParam()));
  EXPECT_THAT(ended.output, IsEmpty());
}

TEST_P(MissingFolder, IsNotReplacedByAFile) {
  std::filesystem::remove_all(home_.Path(GetParam()));
  home_.Write(GetParam(), "a file");
  EXPECT_EQ(78, Start().status);
  EXPECT_EQ("a file", home_.Read(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(OfTheHome, MissingFolder, ::testing::Values("bin", "config", "tmp"),
                         [](const auto& test) { return std::string(test.param); });

TEST_F(AgentStart, MissingFilterFileIsNamedWithStatus78) {
  std::filesystem::remove(FilterPath());
  const Ended ended = Start();
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr(FilterPath()));
  EXPECT_THAT(ended.output, IsEmpty());
}

TEST_F(AgentStart, MalformedFilterFileIsNamedWithItsLineAndStatus78) {
  home_.Write("config/EDAFilter.xml",
              "<?xml version=\"1.0\"?>\n<Filters>\n<Filter Title=></Filters>");
  const Ended ended = Start();
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr(FilterPath() + ":3"));
}

struct FilterText {
  const char* name;
  std::string text;
};

void PrintTo(const FilterText& filter, std::ostream* out) { *out << filter.name; }

class BadFilter : public AgentStart, public ::testing::WithParamInterface<FilterText> {};

TEST_P(BadFilter, IsNamedWithStatus78) {
  home_.Write("config/EDAFilter.xml", GetParam().text);
  const Ended ended = Start();
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr(FilterPath()));
  EXPECT_THAT(home_.Archives(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Files, BadFilter,
    ::testing::Values(FilterText{"Empty", ""}, FilterText{"Blank", "\n"},
                      FilterText{"Text", "no XML"}, FilterText{"CutOff", "<Filters><Filter"},
                      FilterText{"Unclosed", "<Filters>"},
                      FilterText{"TwoRoots", "<Filters/><More/>"},
                      FilterText{"Bytes", std::string("\0\1\2\3", 4)},
                      FilterText{"UnknownEntity", "<Filters><Filter Title='&no;'/></Filters>"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(AgentStart, FilterFileThatIsAFolderIsNamedWithStatus78) {
  std::filesystem::remove(FilterPath());
  std::filesystem::create_directory(FilterPath());
  const Ended ended = Start();
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr(FilterPath()));
}

TEST_F(AgentStart, FilterFileWithoutStatementsIsSaidToDropEverything) {
  home_.Write("config/EDAFilter.xml", FilterFile({}));
  const Ended ended = RunAgent("jsonl:-", Numbered(0, 3));
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr(FilterPath()));
  EXPECT_THAT(TotalsIn(ended.output), ::testing::ElementsAre(Totals{3, 0, 0, 3, 0, 0}));
}

TEST_F(AgentStart, SecondAgentInAHomeEndsWithStatus73) {
  Process first(Command("jsonl:-"), Input::kFromTest);
  first.Write(Numbered(1));
  ASSERT_TRUE(WaitForEvent(1));
  const Ended second = RunAgent("jsonl:-", "");
  EXPECT_EQ(73, second.status);
  EXPECT_THAT(second.errors, HasSubstr("another wkagentd"));
  EXPECT_THAT(second.errors, HasSubstr(HomePath()));
  first.CloseInput();
  EXPECT_EQ(0, first.Wait());
  EXPECT_THAT(Numbers(), ::testing::ElementsAre(1));
}

TEST_F(AgentStart, HomeIsFreeAgainWhenItsAgentWasKilled) {
  Process first(Command("jsonl:-"), Input::kFromTest);
  first.Write(Numbered(1));
  ASSERT_TRUE(WaitForEvent(1));
  first.Signal(SIGKILL);
  EXPECT_EQ(128 + SIGKILL, first.Wait());
  EXPECT_EQ((Totals{1, 0, 1, 0, 1, 0}), Audit(Numbered(2)));
  EXPECT_THAT(Numbers(), ::testing::ElementsAre(1, 2));
}

TEST_F(AgentStart, PathsAreRelativeToTheCallersFolder) {
  std::filesystem::create_directory(home_.Path("caller"));
  home_.Write("caller/events", Numbered(0, 2));
  const Ended ended =
      RunToEnd({WKAGENT_AGENT, "--home", "..", "--feed", "jsonl:events"}, {}, home_.Path("caller"));
  EXPECT_EQ(0, ended.status) << ended.errors;
  EXPECT_EQ(Range(0, 2), Numbers());
  EXPECT_THAT(home_.List("caller"), ::testing::ElementsAre("events"));
}

TEST_F(AgentStart, FeedNamedLikeStandardInputIsReachedThroughItsFolder) {
  home_.Write("outbox/-", Numbered(7));
  const Ended ended = RunToEnd({WKAGENT_AGENT, "--home", HomePath(), "--feed", "jsonl:./-"}, {},
                               home_.Path("outbox"));
  EXPECT_EQ(0, ended.status) << ended.errors;
  EXPECT_THAT(Numbers(), ::testing::ElementsAre(7));
}

TEST_F(AgentStart, MessagesNameFilesOfAHomeThatWasGivenWithASlash) {
  std::filesystem::remove(FilterPath());
  const Ended ended = RunToEnd({WKAGENT_AGENT, "--home", HomePath() + "/", "--feed", "jsonl:-"});
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr(FilterPath()));
}

TEST_F(AgentStart, EveryMessageBearsTheProgramsName) {
  std::filesystem::remove_all(home_.Path("outbox"));
  const Ended ended = RunAgent("jsonl:-", "nonsense\n" + Numbered(0, 501));
  EXPECT_THAT(ended.errors, MatchesRegex("(wkagentd: [^\n]+\n)+"));
  EXPECT_THAT(ended.output, MatchesRegex("wkagentd: totals: [^\n]+\n"));
}

TEST_F(AgentStart, AuditFilesAreNotForEverybody) {
  Audit(Numbered(0, 501));
  for (const std::string& file : AuditFiles()) {
    const auto mode = std::filesystem::status(file).permissions();
    EXPECT_EQ(std::filesystem::perms::none, mode & std::filesystem::perms::others_all) << file;
  }
}

}  // namespace
}  // namespace wkagent::test
