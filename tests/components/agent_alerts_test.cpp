// wkagentd's alerts, from an event to the servers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "components/agent_alerts.h"
#include "components/mail_server.h"
#include "components/trap_receiver.h"

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

TEST_F(AgentAlerts, ReachTheServersWhileTheAgentRuns) {
  const MailServer mail(home_.Path("mail"));
  const TrapReceiver traps(home_.Path("traps"));
  UseMail(mail.Address());
  UseTraps(traps.Address());
  Process agent(Agent({"--feed", "jsonl:-"}), Input::kFromTest);
  agent.Write(kEvent);
  ASSERT_TRUE(mail.WaitForMail(1)) << agent.Errors();
  EXPECT_EQ(mail.Envelope(1), "agent@acme.example\nops@acme.example");
  EXPECT_EQ(mail.Decoded(1, "Subject"), "Audit");
  EXPECT_THAT(
      mail.Decoded(1, ""),
      AllOf(StartsWith("password changed: bob.acme; by admin.acme at "), EndsWith(", status 0\n")));
  EXPECT_THAT(traps.WaitForTraps(1), SizeIs(1));
  agent.CloseInput();
  EXPECT_EQ(0, agent.Wait()) << agent.Errors();
  EXPECT_THAT(Spooled(), IsEmpty());
}

TEST_F(AgentAlerts, ThatWaitAreSentByTheNextAgent) {
  const TrapReceiver traps(home_.Path("traps"));
  UseTraps(traps.Address());
  ASSERT_EQ(0, RunToEnd(Agent({"--feed", "jsonl:-", "--hold-alerts"}), kEvent).status);
  EXPECT_THAT(Spooled(), SizeIs(2));
  const MailServer mail(home_.Path("mail"));
  UseMail(mail.Address());
  Process agent(Agent({"--feed", "jsonl:-"}), Input::kFromTest);
  EXPECT_TRUE(mail.WaitForMail(1)) << agent.Errors();
  EXPECT_THAT(traps.WaitForTraps(1), SizeIs(1));
  agent.CloseInput();
  EXPECT_EQ(0, agent.Wait());
}

TEST_F(AgentAlerts, WaitForAServerThatIsAway) {
  UseMail("127.0.0.1:1");
  UseTraps("no host at all");
  Process agent(Agent({"--feed", "jsonl:-"}), Input::kFromTest);
  agent.Write(kEvent);
  ASSERT_TRUE(WaitUntil([&] {
    return agent.Errors().find("not all of it could be sent; it is tried again") !=
           std::string::npos;
  }));
  const MailServer mail(home_.Path("mail"));
  UseMail(mail.Address());
  EXPECT_TRUE(mail.WaitForMail(1)) << agent.Errors();
  agent.CloseInput();
  EXPECT_EQ(0, agent.Wait());
  EXPECT_FALSE(mail.HasMail(2));
}

class TestAlertOption : public AgentAlerts {};

TEST_F(TestAlertOption, SendsOneMail) {
  const MailServer mail(home_.Path("mail"));
  UseMail(mail.Address());
  const Ended ended =
      RunToEnd(Agent({"--test-alert", "mail", "hello", "--to", "you@acme.example"}));
  EXPECT_EQ(0, ended.status) << ended.errors;
  EXPECT_EQ(ended.output, "wkagentd: mail handed to " + mail.Address() + " for you@acme.example\n");
  ASSERT_TRUE(mail.WaitForMail(1));
  EXPECT_EQ(mail.Envelope(1), "agent@mossgrove.local\nyou@acme.example");
  EXPECT_EQ(mail.Decoded(1, "Subject"), "wkagentd test alert");
  EXPECT_EQ(mail.Decoded(1, ""), "hello\n");
}

TEST_F(TestAlertOption, SendsToTheAddressesOfTheSettings) {
  const MailServer mail(home_.Path("mail"));
  UseMail(mail.Address());
  home_.Write("config/DaemonSettings.xml",
              std::string("<S><WorkspaceGuid>") + kGuid +
                  "</WorkspaceGuid><Logging Enable=\"1\"><From>f@acme</From><To>t@acme</To>"
                  "<CC>c@acme</CC></Logging></S>");
  EXPECT_EQ(0, RunToEnd(Agent({"--test-alert", "mail", "hello"})).status);
  ASSERT_TRUE(mail.WaitForMail(1));
  EXPECT_EQ(mail.Envelope(1), "f@acme\nt@acme\nc@acme");
}

TEST_F(TestAlertOption, SendsOneTrap) {
  const TrapReceiver traps(home_.Path("traps"));
  UseTraps(traps.Address());
  const Ended ended = RunToEnd(Agent({"--test-alert", "snmp", "hello"}));
  EXPECT_EQ(0, ended.status) << ended.errors;
  EXPECT_THAT(traps.WaitForTraps(1)[0], EndsWith("Hex-STRING: 68 65 6C 6C 6F "));
}

TEST_F(TestAlertOption, TellsWhatIsWrong) {
  UseMail("127.0.0.1:1");
  Ended ended = RunToEnd(Agent({"--test-alert", "mail", "hello", "--to", "you@acme.example"}));
  EXPECT_EQ(69, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr("Failed to connect to 127.0.0.1 port 1"));
  ended = RunToEnd(Agent({"--test-alert", "mail", "hello"}));
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr("nobody to send the mail to; give --to ADDRESS"));
  ended = RunToEnd(Agent({"--test-alert", "snmp", "hello"}));
  EXPECT_EQ(69, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr("no manager to send the trap to"));
  EXPECT_EQ(64, RunToEnd(Agent({"--test-alert", "pigeon", "hello"})).status);
  EXPECT_EQ(64, RunToEnd(Agent({"--test-alert", "mail", ""})).status);
  EXPECT_EQ(64, RunToEnd(Agent({"--feed", "jsonl:-", "--to", "a@b"})).status);
}

}  // namespace
}  // namespace wkagent::test
