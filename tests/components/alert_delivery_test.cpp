// The library's alerts, through the components, to real servers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/alert.h>
#include <wkagent/crypto.h>

#include "components/mail_server.h"
#include "components/trap_receiver.h"
#include "support/agent_home.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;

constexpr char kGuid[] = "0f8fad5b-d9cb-469f-a165-70867728950e";

class AlertDelivery : public ::testing::Test {
 protected:
  AlertDelivery() {
    std::filesystem::create_directory(home_.Path("tmp/server"));
    home_.Write("config/DaemonSettings.xml",
                std::string("<S><WorkspaceGuid>") + kGuid + "</WorkspaceGuid></S>");
  }

  void WriteEncrypted(const std::string& name, const std::string& xml) const {
    home_.Write("tmp/plain", xml);
    CRijndael cipher;
    cipher.WKEncryptFile(Text(home_.Path("tmp/plain")), Text(home_.Path("config/" + name)),
                         Text(kGuid));
    std::filesystem::remove(home_.Path("tmp/plain"));
  }

  [[nodiscard]] std::string SpoolFile(const std::string& kind) const {
    for (const std::string& name : home_.List("tmp")) {
      if (name.starts_with(kind)) return name;
    }
    throw std::runtime_error("nothing is spooled");
  }

  AgentHome home_;
};

TEST_F(AlertDelivery, AMailIsSpooledAndReplayedToTheConfiguredServer) {
  const MailServer server(home_.Path("tmp/server"));
  WriteEncrypted("SMTPSettings.cfg", "<S><SMTPServer>" + server.Address() + "</SMTPServer></S>");
  {
    WKSMTPAlert mail;
    mail.SetMessage(Text("password changed: bob.acme"));
    mail.SetFromID(Text(""));
    mail.SetToList(Text("ops@acme.example,sec@acme.example"));
    mail.SetCCList(Text("boss@acme.example"));
    mail.SetSubject(Text("Passwort ge\xC3\xA4ndert"));
    mail.Serialize();
  }
  const WKSMTPAlert current;
  WKSMTPAlert::SMTPConfigAvailable("");
  WKSMTPAlert::SMTPAlertAvailable(SpoolFile("SMTP.").c_str());
  ASSERT_TRUE(server.WaitForMail(1));
  EXPECT_EQ(server.Envelope(1),
            "agent@mossgrove.local\nops@acme.example\nsec@acme.example\nboss@acme.example");
  EXPECT_EQ(server.Decoded(1, "Subject"), "Passwort ge\xC3\xA4ndert");
  EXPECT_EQ(server.Decoded(1, ""), "password changed: bob.acme\n");
  EXPECT_THROW((void)SpoolFile("SMTP."), std::runtime_error);
}

TEST_F(AlertDelivery, TrapsAreSpooledAndReplayedToTheConfiguredManager) {
  const TrapReceiver receiver(home_.Path("tmp/server"));
  WriteEncrypted("SNMPSettings.cfg",
                 "<S><SNMPConsoleMachineName>" + receiver.Address() +
                     "</SNMPConsoleMachineName><SNMPEOI>1.3.6.1.4.1.32473.1.1</SNMPEOI>"
                     "<TrapDescID>1.3.6.1.4.1.32473.0.1</TrapDescID></S>");
  home_.Write("tmp/SNMP.20261115082205.txt", "one\ntwo\n");
  const WKSNMPAlert current;
  WKSNMPAlert::SNMPAlertAvailable("SNMP.20261115082205.txt");
  const std::vector<std::string> traps = receiver.WaitForTraps(2);
  ASSERT_THAT(traps, ::testing::SizeIs(2));
  EXPECT_THAT(traps[0], HasSubstr("\t.1.3.6.1.6.3.1.1.4.1.0 = OID: .1.3.6.1.4.1.32473.0.1\t"));
  EXPECT_THAT(traps[0], EndsWith(".1.3.6.1.4.1.32473.1.1 = Hex-STRING: 6F 6E 65 0A "));
  EXPECT_THAT(traps[1], EndsWith("Hex-STRING: 74 77 6F 0A "));
}

}  // namespace
}  // namespace wkagent::test
