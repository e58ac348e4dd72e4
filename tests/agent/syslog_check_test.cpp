#include "agent/check/syslog_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/config_check_fixture.h"
#include "support/printed.h"

namespace wkagent::test {
namespace {

// Right, but for the placeholder of a file that exists.
constexpr char kSyslog[] = R"(<syslog>
<host>192.0.2.1</host>
<port>6514</port>
<protocol>TLS</protocol>
<tls>
<ca_cert>@</ca_cert>
<client_cert>@</client_cert>
<client_key>@</client_key>
<mutual_tls>true</mutual_tls>
<verify_server_cert>true</verify_server_cert>
<server_name>logs.acme.example</server_name>
</tls>
</syslog>
)";

class SyslogCheckTest : public ::testing::TestWithParam<BrokenFile> {
 protected:
  // The messages about a file with this text, without its path.
  std::vector<std::string> MessagesOf(std::string text) {
    for (std::size_t at; (at = text.find('@')) != std::string::npos;) {
      text.replace(at, 1, home_.Path("config/file.pem"));
    }
    home_.Write("config/file.pem", "");
    home_.Write("config/syslog_config.xml", text);
    const std::string path = home_.Path("config/syslog_config.xml");
    std::istringstream printed(Complaints([&] {
      CheckReport report(path);
      CheckSyslogSettings(report);
      report.PrintFindings();
    }));
    std::vector<std::string> messages;
    for (std::string line; std::getline(printed, line);) {
      messages.push_back(line.substr(path.size()));
    }
    return messages;
  }

  AgentHome home_;
};

TEST_F(SyslogCheckTest, IsContentWithARightFile) {
  EXPECT_THAT(MessagesOf(kSyslog), ::testing::IsEmpty());
  EXPECT_THAT(MessagesOf("<s/>"), ::testing::IsEmpty());
}

TEST_P(SyslogCheckTest, Tells) {
  EXPECT_THAT(MessagesOf(Broken(kSyslog, GetParam().from, GetParam().to)),
              ::testing::ElementsAreArray(GetParam().messages));
}

const BrokenFile kBrokenFiles[] = {
    {"AHostName",
     "192.0.2.1",
     "logs.acme.example",
     {":2: error: host \"logs.acme.example\" is no IPv4 address, and names are not looked up; "
      "write <host>192.0.2.1</host>, without blanks"}},
    {"BlanksAroundTheHost",
     "192.0.2.1",
     " 192.0.2.1",
     {":2: error: host \" 192.0.2.1\" is no IPv4 address, and names are not looked up; write "
      "<host>192.0.2.1</host>, without blanks"}},
    {"APortThatIsNoNumber",
     "6514",
     "syslog",
     {":3: error: port \"syslog\" is no number from 1 to 65535; write <port>514</port>, or "
      "<port>6514</port> for TLS"}},
    {"APortThatIsTooLarge",
     "6514",
     "65536",
     {":3: error: port \"65536\" is no number from 1 to 65535; write <port>514</port>, or "
      "<port>6514</port> for TLS"}},
    {"ANumberlessPort",
     "6514",
     "",
     {":3: error: port \"\" is no number from 1 to 65535; write <port>514</port>, or "
      "<port>6514</port> for TLS"}},
    {"AProtocolInSmallLetters",
     "<protocol>TLS",
     "<protocol>tls",
     {":4: error: protocol \"tls\" is ignored, so UDP stays; write UDP, TCP or TLS, in capitals",
      ":5: warning: tls is not used, as the protocol is UDP; write <protocol>TLS</protocol>, or "
      "leave it out"}},
    {"TlsThatIsNotUsed",
     "<protocol>TLS",
     "<protocol>TCP",
     {":5: warning: tls is not used, as the protocol is TCP; write <protocol>TLS</protocol>, or "
      "leave it out"}},
    {"AFileThatIsNotThere",
     "<ca_cert>@",
     "<ca_cert>/nowhere/ca.pem",
     {":6: error: ca_cert \"/nowhere/ca.pem\" cannot be read: No such file or directory; write the "
      "path of a PEM file, without blanks around it"}},
    {"MutualTlsWithoutAKey",
     "<client_key>@",
     "<client_key>",
     {":9: error: mutual_tls needs client_cert and client_key; write the paths of both"}},
    {"AFlagInCapitals",
     "<verify_server_cert>true",
     "<verify_server_cert>TRUE",
     {":10: error: verify_server_cert \"TRUE\" counts as false; write true or false"}},
    {"BlanksInTheServerName",
     "logs.acme.example",
     "logs.acme.example ",
     {":11: error: server_name \"logs.acme.example \" holds blanks, which count; write it "
      "without"}},
    {"AMisspelledElement",
     "<port>6514</port>",
     "<prot>6514</prot>",
     {":3: warning: prot is not looked at here; did you mean port?"}},
    {"ATlsElementOutsideTls",
     "<port>6514</port>",
     "<ca_cert>@</ca_cert>",
     {":3: warning: ca_cert is not looked at here"}},
    {"AnElementTwice",
     "<port>6514</port>",
     "<host>192.0.2.2</host>",
     {":3: warning: host overrides an earlier one; keep one"}},
};

INSTANTIATE_TEST_SUITE_P(File, SyslogCheckTest, ::testing::ValuesIn(kBrokenFiles),
                         [](const auto& test) { return test.param.name; });

TEST_F(SyslogCheckTest, NamesTheLineWhereTheXmlIsBroken) {
  EXPECT_THAT(MessagesOf("<s>\n<host>\n</s>\n"),
              ::testing::ElementsAre(::testing::StartsWith(":3: error: it is no well-formed XML")));
}

}  // namespace
}  // namespace wkagent::test
