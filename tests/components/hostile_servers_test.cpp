// wkagentd beside servers that do not let go of it: it goes on auditing, its other alerts go out,
// and it ends when it is told to.

#include <csignal>
#include <optional>

#include "components/agent_alerts.h"
#include "components/mail_server.h"
#include "components/trap_receiver.h"
#include "support/hostile_server.h"
#include "support/memory.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr long kMemory = MostMemory(64 * 1024);

class HostileServers : public AgentAlerts {
 protected:
  // Starts an agent with these further options, which raises alerts for an event, and waits until
  // the mail server has it.
  void HaveAVictim(const HostileServer& server, const std::vector<std::string>& more = {}) {
    UseMail(server.Address());
    std::vector<std::string> options = {"--feed", "jsonl:-"};
    options.insert(options.end(), more.begin(), more.end());
    agent_.emplace(Agent(options), Input::kFromTest);
    agent_->Write(kEvent);
    ASSERT_TRUE(server.WaitForVictim()) << agent_->Errors();
  }

  // True once the record of an event that is fed now can be read.
  [[nodiscard]] bool GoesOnAuditing() {
    agent_->Write(R"({"EventID":20001,"UserName":"admin.acme","Object1":"later.acme"})"
                  "\n");
    return WaitUntil(
        [&] { return home_.Read("tmp/EDALive.xml").find("later.acme") != std::string::npos; });
  }

  void Terminate() {
    agent_->Signal(SIGTERM);
    EXPECT_EQ(0, agent_->Wait()) << agent_->Errors();
  }

  std::optional<Process> agent_;
};

TEST_F(HostileServers, SilentMailServerHoldsUpNeitherEventsNorTrapsNorTheEnd) {
  const TrapReceiver traps(home_.Path("traps"));
  UseTraps(traps.Address());
  const HostileServer server({}, {.manner = Fault::Manner::kSilence});
  HaveAVictim(server);
  EXPECT_TRUE(GoesOnAuditing()) << agent_->Errors();
  EXPECT_THAT(traps.WaitForTraps(2), SizeIs(2));
  Terminate();
  EXPECT_THAT(agent_->Errors(), HasSubstr(server.Address() + ": broken off\n"));
  EXPECT_EQ(1, server.Victims());
  EXPECT_THAT(Spooled(), Not(IsEmpty()));
}

TEST_F(HostileServers, MailThatWasBrokenOffIsSentByTheNextAgent) {
  {
    const HostileServer server({}, {.manner = Fault::Manner::kSilence});
    HaveAVictim(server);
    Terminate();
  }
  const MailServer mail(home_.Path("mail"));
  UseMail(mail.Address());
  agent_.emplace(Agent({"--feed", "jsonl:-"}), Input::kFromTest);
  EXPECT_TRUE(mail.WaitForMail(1)) << agent_->Errors();
  Terminate();
  EXPECT_FALSE(mail.HasMail(2));
}

TEST_F(HostileServers, MailServerThatNeverStopsTalkingFillsNeitherMemoryNorLog) {
  const HostileServer server({}, {.manner = Fault::Manner::kEndless, .text = "550-no\r\n"});
  HaveAVictim(server);
  EXPECT_TRUE(WaitUntil([&] { return server.Victims() > 2; }));
  EXPECT_TRUE(GoesOnAuditing());
  EXPECT_LT(PeakMemoryOf(agent_->Id()), kMemory);
  Terminate();
  EXPECT_LT(agent_->Errors().size(), 100000U);
}

// The alerts of an agent whose home is in trouble.
class AlertTrouble : public HostileServers {
 protected:
  AlertTrouble() : mail_(home_.Path("mail")) {}

  void StartAgent() { agent_.emplace(Agent({"--feed", "jsonl:-"}), Input::kFromTest); }

  [[nodiscard]] bool WaitForMessage(const std::string& text) const {
    return WaitUntil([&] { return agent_->Errors().find(text) != std::string::npos; });
  }

  const MailServer mail_;
};

TEST_F(AlertTrouble, MailsDoNotGoToAnotherServerWhereTheSettingsCannotBeRead) {
  home_.Write("config/SMTPSettings.cfg", "damaged");
  StartAgent();
  agent_->Write(kEvent);
  EXPECT_TRUE(WaitForMessage("SMTP.")) << agent_->Errors();
  EXPECT_THAT(agent_->Errors(), HasSubstr("not all of it could be sent; it is tried again"));
  UseMail(mail_.Address());
  EXPECT_TRUE(mail_.WaitForMail(1));
  Terminate();
  EXPECT_THAT(agent_->Errors(), HasSubstr("wkagentd: Cannot read SMTP Settings\n"));
  EXPECT_THAT(agent_->Errors(), Not(HasSubstr("mail: 127.0.0.1")));
}

}  // namespace
}  // namespace wkagent::test
