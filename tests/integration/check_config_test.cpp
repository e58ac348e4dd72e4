// wkagentd --check-config, as its operator meets it.

#include "integration/agent_test.h"

namespace wkagent::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class CheckConfigOption : public AgentTest {
 protected:
  [[nodiscard]] Ended CheckConfig() const {
    return RunToEnd({WKAGENT_AGENT, "--home", HomePath(), "--check-config"});
  }
};

TEST_F(CheckConfigOption, NeedsNoFeedAndIsContentWithARightHome) {
  const Ended ended = CheckConfig();
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(ended.errors, IsEmpty());
  EXPECT_THAT(ended.output, EndsWith("wkagentd: 1 files checked, 0 errors, 0 warnings\n"));
}

TEST_F(CheckConfigOption, EndsWithStatus78WhenThereAreErrors) {
  home_.Write("config/DaemonSettings.xml", "<S>\n<ArmThreshold>0</ArmThreshold>\n</S>\n");
  const Ended ended = CheckConfig();
  EXPECT_EQ(78, ended.status);
  EXPECT_EQ(HomePath() +
                "/config/DaemonSettings.xml:2: error: <ArmThreshold>0</ArmThreshold> is less than "
                "1; write a number from 1 to 2147483647\n",
            ended.errors);
}

TEST_F(CheckConfigOption, ChecksTheSettingsThatTheFeedNames) {
  home_.Write("bin/directory.xml", "<S><LDAPserver>a</LDAPserver></S>");
  const std::string path = home_.Path("bin/directory.xml");
  const Ended ended = RunToEnd(
      {WKAGENT_AGENT, "--home", HomePath(), "--check-config", "--feed", "accesslog:" + path});
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr(path + ":1: error: unknown element LDAPserver is ignored; "
                                             "did you mean LDAPServer?\n"));
}

TEST_F(CheckConfigOption, WorksBesideARunningAgent) {
  Process agent(Command("jsonl:-"), Input::kFromTest);
  agent.Write(Numbered(1) + "\n");
  ASSERT_TRUE(WaitForLive("EDAuditData"));
  EXPECT_EQ(0, CheckConfig().status);
  agent.CloseInput();
  EXPECT_EQ(0, agent.Wait());
}

TEST_F(CheckConfigOption, NamesAMissingHome) {
  const Ended ended = RunToEnd({WKAGENT_AGENT, "--home", "/nowhere", "--check-config"});
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr("/nowhere/config: error: there is no such folder"));
}

}  // namespace
}  // namespace wkagent::test
