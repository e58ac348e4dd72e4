#ifndef WKAGENT_TESTS_COMPONENTS_AGENT_ALERTS_H
#define WKAGENT_TESTS_COMPONENTS_AGENT_ALERTS_H

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/crypto.h>

#include "support/agent_home.h"
#include "support/process.h"
#include "support/text.h"

namespace wkagent::test {

inline constexpr char kGuid[] = "0f8fad5b-d9cb-469f-a165-70867728950e";

// Keeps everything, with a mail and a trap for each event.
inline constexpr char kFilter[] =
    "<F><Filter Title=\"\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\"/>"
    "<Operations AllOperations=\"1\"/><Users AllUsers=\"1\"/><Objects AllObjects=\"1\"/>"
    "<Classes AllClasses=\"1\"/><Attributes AllAttributes=\"1\"/>"
    "<AttributeValues AllAttributeValues=\"1\"/><SNMP Alert=\"1\"/>"
    "<SMTP Alert=\"1\" From=\"agent@acme.example\" Subject=\"Audit\" To=\"ops@acme.example\" "
    "Cc=\"\"/></F>";

// A home for wkagentd with settings for alerts, and servers of the test's own to send them to.
class AgentAlerts : public ::testing::Test {
 protected:
  AgentAlerts() {
    for (const char* folder : {"mail", "traps"}) {
      std::filesystem::create_directory(home_.Path(folder));
    }
    home_.Write("config/EDAFilter.xml", kFilter);
    home_.Write("config/DaemonSettings.xml",
                std::string("<S><PollInterval>1</PollInterval><WorkspaceGuid>") + kGuid +
                    "</WorkspaceGuid></S>");
  }

  void WriteEncrypted(const std::string& name, const std::string& xml) const {
    home_.Write("plain", xml);
    CRijndael cipher;
    cipher.WKEncryptFile(Text(home_.Path("plain")), Text(home_.Path("config/" + name)),
                         Text(kGuid));
  }

  void UseMail(const std::string& server) const {
    WriteEncrypted("SMTPSettings.cfg", "<S><SMTPServer>" + server + "</SMTPServer></S>");
  }

  void UseTraps(const std::string& manager) const {
    WriteEncrypted("SNMPSettings.cfg",
                   "<S><SNMPConsoleMachineName>" + manager +
                       "</SNMPConsoleMachineName><SNMPEOI>1.3.6.1.4.1.32473.1.1</SNMPEOI>"
                       "<TrapDescID>1.3.6.1.4.1.32473.0.1</TrapDescID></S>");
  }

  [[nodiscard]] std::vector<std::string> Agent(const std::vector<std::string>& more) const {
    std::vector<std::string> command = {WKAGENT_AGENT, "--home", home_.Path("")};
    command.insert(command.end(), more.begin(), more.end());
    return command;
  }

  [[nodiscard]] std::vector<std::string> Spooled() const {
    std::vector<std::string> names = home_.List("tmp");
    std::erase_if(names, [](const std::string& name) { return !name.starts_with("S"); });
    return names;
  }

  AgentHome home_;
};

// An event that raises them.
inline constexpr char kEvent[] =
    R"({"EventID":20007,"UserName":"admin.acme","Object1":"bob.acme","EventTime":0})"
    "\n";

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_COMPONENTS_AGENT_ALERTS_H
