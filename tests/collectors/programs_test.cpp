// The programs that send to a collector, as their operators run them.

#include "collectors/delivery_fixture.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

constexpr char kKeepAll[] =
    "<F><Filter Title=\"\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\"/>"
    "<Operations AllOperations=\"1\"/><Users AllUsers=\"1\"/><Objects AllObjects=\"1\"/>"
    "<Classes AllClasses=\"1\"/><Attributes AllAttributes=\"1\"/>"
    "<AttributeValues AllAttributeValues=\"1\"/><Nodes AllNodes=\"1\"/></F>";

class SyslogPrograms : public CollectorTest {
 protected:
  SyslogPrograms() {
    home_.Write("config/EDAFilter.xml", kKeepAll);
    home_.Write("config/ELAFilter.xml", kKeepAll);
  }

  [[nodiscard]] Ended Agent(const std::string& input) const {
    return RunToEnd({WKAGENT_AGENT, "--home", home_.Path(""), "--feed", "jsonl:-", "--syslog"},
                    input);
  }

  static Ended Wksyslog(const std::string& input) {
    return RunToEnd({WKAGENT_WKSYSLOG, "--timeout", "20"}, input);
  }

  static std::vector<std::string> LinesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
  }
};

TEST_P(SyslogPrograms, TheAgentForwardsEachKeptEventAsOneLine) {
  const CollectorProgram collector = Start(Transport::kTls);
  const Ended ended = Agent(
      R"({"EventID":20005,"UserName":"admin.acme","Object1":"bob.acme","AttributeValue":"a]b\nc"})"
      "\n"
      R"({"EventID":21001,"UserName":"bob.acme","Status":49,"NodeAddress":"192.0.2.1"})"
      "\n");
  EXPECT_EQ(0, ended.status) << ended.errors;
  EXPECT_THAT(ended.output,
              EndsWith("\nwkagentd: syslog: sent 2, stored 0, sent later 0, lost 0, waiting 0\n"));
  ASSERT_TRUE(WaitUntil([&] { return LinesOf(collector.Text()).size() == 2; }));
  const std::vector<std::string> lines = LinesOf(collector.Text());
  EXPECT_THAT(lines[0], MatchesRegex("<110>1 [^ ]+Z [^ ]+ wkagentd [0-9]+ EDA \\[wkaudit@32473 "
                                     "EventID=\"20005\" Status=\"0\" UserName=\"admin.acme\" "
                                     "Object1=\"bob.acme\" AttributeValue=\"a\\\\\\]b#012c\"\\]"));
  EXPECT_THAT(lines[1],
              AllOf(StartsWith("<108>1 "), HasSubstr(" ELA [wkaudit@32473 EventID=\"21001\" "
                                                     "Status=\"49\" UserName=\"bob.acme\" "
                                                     "NodeAddress=\"192.0.2.1\"]")));
}

TEST_P(SyslogPrograms, WhatAnAgentCouldNotSendTheNextOneSends) {
  CollectorProgram collector = Start(Transport::kTcp);
  collector.Stop();
  EXPECT_EQ(0, Agent("{\"EventID\":20001,\"Object1\":\"bob.acme\"}\n").status);
  ASSERT_EQ(1U, StoredLines().size());
  collector.StartAgain();
  WKSyslogSender next;
  ASSERT_TRUE(Drain(next));
  ASSERT_TRUE(WaitUntil([&] { return collector.TextSize() > 0; }));
  EXPECT_THAT(collector.Text(), HasSubstr("Object1=\"bob.acme\"]\n"));
}

TEST_P(SyslogPrograms, TheAgentEndsWhereTheSettingsAreWrong) {
  UseTcp(70000);
  const Ended ended = Agent("");
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr("/opt/mossgrove/config/syslog_config.xml:1: error: port "
                                      "\"70000\" is no number from 1 to 65535"));
}

TEST_P(SyslogPrograms, WksyslogSendsItsInputAndCounts) {
  const CollectorProgram collector = Start(Transport::kTcp);
  const Ended ended = Wksyslog("one\ntwo\nthree");
  EXPECT_EQ(0, ended.status) << ended.errors;
  EXPECT_THAT(ended.output, AllOf(StartsWith("Syslog Config Settings:\nserverHost: 127.0.0.1|"),
                                  EndsWith("\nwksyslog: sent 3, stored 0, failed 0\n")));
  EXPECT_TRUE(WaitUntil([&] { return collector.Text() == "one\ntwo\nthree\n"; }));
}

TEST_P(SyslogPrograms, WksyslogStoresWhatNobodyTakes) {
  CollectorProgram collector = Start(Transport::kTcp);
  collector.Stop();
  const Ended ended = Wksyslog("one\ntwo\n");
  EXPECT_EQ(69, ended.status);
  EXPECT_THAT(ended.output, EndsWith("\nwksyslog: sent 0, stored 2, failed 0\n"));
  EXPECT_THAT(ended.errors, HasSubstr("Connect failed: Connection refused\n"));
  EXPECT_THAT(StoredLines(), ::testing::ElementsAre("one", "two"));
}

TEST_P(SyslogPrograms, WksyslogNamesAPortThatIsNoNumber) {
  home_.Write("tmp/settings", "<s><port>x</port></s>");
  std::filesystem::copy_file(home_.Path("tmp/settings"), "/opt/mossgrove/config/syslog_config.xml",
                             std::filesystem::copy_options::overwrite_existing);
  const Ended ended = Wksyslog("");
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr("the port is no number that can be used (stoi)\n"));
}

INSTANTIATE_FOR_COLLECTORS(SyslogPrograms);

TEST(Wksyslog, ExplainsItself) {
  EXPECT_THAT(OutputOf({WKAGENT_WKSYSLOG, "--help"}), HasSubstr("Exit status: 0 all lines sent"));
  EXPECT_THAT(OutputOf({WKAGENT_WKSYSLOG, "--version"}), MatchesRegex("wksyslog [0-9.]+\n"));
  EXPECT_EQ(64, RunToEnd({WKAGENT_WKSYSLOG, "--nonsense"}).status);
}

}  // namespace
}  // namespace wkagent::test
