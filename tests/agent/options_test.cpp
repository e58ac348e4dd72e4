#include "agent/options.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/version.h>

#include "support/agent_home.h"

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

constexpr int kRun = -1;

// What reading a command line gave.
struct Answer {
  int status;
  Options options;
  std::string out;
  std::string err;
};

Answer Read(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "wkagentd");
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  Answer answer{};
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  answer.status = ReadOptions(static_cast<int>(arguments.size()), argv.data(), answer.options);
  answer.out = ::testing::internal::GetCapturedStdout();
  answer.err = ::testing::internal::GetCapturedStderr();
  return answer;
}

// A command line that cannot be used says why on standard error only.
void ExpectUsageError(const std::vector<std::string>& arguments, const std::string& why) {
  const Answer answer = Read(arguments);
  EXPECT_EQ(64, answer.status) << ::testing::PrintToString(arguments);
  EXPECT_EQ("", answer.out);
  EXPECT_THAT(answer.err, HasSubstr(why)) << ::testing::PrintToString(arguments);
}

TEST(Options, AreRead) {
  const Answer answer = Read({"--home", "/srv/home", "--feed", "auditlog:/var/log/changes"});
  EXPECT_EQ(kRun, answer.status);
  EXPECT_EQ("/srv/home", answer.options.home);
  EXPECT_EQ(FeedKind::kAuditlog, answer.options.feedKind);
  EXPECT_EQ("/var/log/changes", answer.options.feedPath);
  EXPECT_FALSE(answer.options.follow);
  EXPECT_FALSE(answer.options.checkConfig);
  EXPECT_EQ("", answer.out + answer.err);
}

TEST(Options, MayBeWrittenWithEqualsSignsInAnyOrder) {
  const Answer answer = Read({"--follow", "--feed=jsonl:/x", "--home=/srv/home"});
  EXPECT_EQ(kRun, answer.status);
  EXPECT_EQ("/srv/home", answer.options.home);
  EXPECT_EQ(FeedKind::kJsonl, answer.options.feedKind);
  EXPECT_EQ("/x", answer.options.feedPath);
  EXPECT_TRUE(answer.options.follow);
}

TEST(Options, ADashIsStandardInput) {
  EXPECT_EQ("-", Read({"--home", "h", "--feed", "jsonl:-"}).options.feedPath);
  EXPECT_EQ("-", Read({"--home", "h", "--feed", "auditlog:-"}).options.feedPath);
}

TEST(Options, AFeedsPathIsMadeAbsolute) {
  const AgentHome home;
  const std::string here = std::filesystem::current_path().string();
  EXPECT_EQ(here + "/log", Read({"--home", "h", "--feed", "jsonl:log"}).options.feedPath);
  EXPECT_EQ(here + "/a:b c", Read({"--home", "h", "--feed", "auditlog:a:b c"}).options.feedPath);
}

TEST(Options, HomeAndFeedAreRequired) {
  ExpectUsageError({}, "required");
  ExpectUsageError({"--home", "/srv/home"}, "--feed is required");
  ExpectUsageError({"--feed", "jsonl:-"}, "--home is required");
  ExpectUsageError({"--home"}, "--home");
  ExpectUsageError({"--home", "h", "--feed"}, "--feed");
}

TEST(Options, ACheckOfTheConfigurationNeedsNoFeed) {
  const Answer answer = Read({"--home", "/srv/home", "--check-config"});
  EXPECT_EQ(kRun, answer.status);
  EXPECT_TRUE(answer.options.checkConfig);
  EXPECT_EQ("", answer.out + answer.err);
  ExpectUsageError({"--check-config"}, "--home is required");
}

TEST(Options, ACheckOfTheConfigurationMayNameAFeed) {
  const Answer answer = Read({"--check-config", "--home", "h", "--feed", "jsonl:-"});
  EXPECT_EQ(kRun, answer.status);
  EXPECT_TRUE(answer.options.checkConfig);
}

TEST(Options, AFeedNeedsAKnownKindAndAPath) {
  for (const char* const feed : {"", "x", "/var/log/changes", "syslog:/x", "JSONL:/x", "jsonl", ":",
                                 ":/x", " jsonl:/x", "jsonl/x"}) {
    ExpectUsageError({"--home", "h", "--feed", feed}, "--feed");
  }
  ExpectUsageError({"--home", "h", "--feed", "jsonl:"}, "the path is missing");
  ExpectUsageError({"--home", "h", "--feed", "auditlog:"}, "the path is missing");
  ExpectUsageError({"--home", "h", "--feed", "x:/y"},
                   "KIND:PATH is expected, with auditlog, jsonl or accesslog as KIND");
}

TEST(Options, UnknownOnesAreRefused) {
  const std::vector<std::string> good = {"--home", "h", "--feed", "jsonl:-"};
  for (const char* const extra : {"--fllow", "-x", "extra", "--follow=maybe"}) {
    std::vector<std::string> arguments = good;
    arguments.emplace_back(extra);
    EXPECT_EQ(64, Read(arguments).status) << extra;
  }
}

TEST(Options, NoneMayBeGivenTwice) {
  ExpectUsageError({"--home", "a", "--home", "b", "--feed", "jsonl:-"}, "--home");
  ExpectUsageError({"--home", "a", "--feed", "jsonl:-", "--feed", "jsonl:/x"}, "--feed");
}

TEST(Options, HelpIsAnAnswer) {
  for (const char* const option : {"--help", "-h"}) {
    const Answer answer = Read({option});
    EXPECT_EQ(0, answer.status);
    EXPECT_EQ("", answer.err);
    EXPECT_THAT(answer.out, AllOf(HasSubstr("--home"), HasSubstr("--feed"), HasSubstr("--follow"),
                                  HasSubstr("auditlog:PATH"), HasSubstr("jsonl:PATH"),
                                  HasSubstr("--check-config"), HasSubstr("SIGUSR1"),
                                  HasSubstr("Exit status: 0 done, 64")));
  }
}

TEST(Options, TheVersionIsAnAnswer) {
  const Answer answer = Read({"--version"});
  EXPECT_EQ(0, answer.status);
  EXPECT_EQ("wkagentd " WKAGENT_VERSION "\n", answer.out);
  EXPECT_EQ("", answer.err);
}

TEST(Options, SyslogIsOffUnlessAskedFor) {
  EXPECT_FALSE(Read({"--home", "/", "--feed", "jsonl:-"}).options.syslog);
  const Answer answer = Read({"--home", "/", "--feed", "jsonl:-", "--syslog"});
  EXPECT_EQ(kRun, answer.status);
  EXPECT_TRUE(answer.options.syslog);
}

}  // namespace
}  // namespace wkagent::test
