// What a sender takes from its settings file.

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include <wkagent/syslog.h>

#include "support/open_files.h"
#include "syslog/syslog_fixture.h"
#include "support/threads.h"

namespace wkagent::test {
namespace {

static_assert(!std::is_copy_constructible_v<WKSyslogSender>);
static_assert(!std::is_copy_assignable_v<WKSyslogSender>);
static_assert(!std::is_copy_constructible_v<WKSyslogRetryHandler>);
static_assert(std::is_same_v<std::underlying_type_t<SyslogProtocol>, std::int32_t>);
static_assert(SyslogConfig::UDP == 0 && SyslogConfig::TCP == 1 && SyslogConfig::TLS == 2);

class SyslogSettings : public SyslogTest {
 protected:
  // A sender whose settings file has these elements.
  static std::unique_ptr<WKSyslogSender> With(const std::string& elements) {
    WriteSettings(elements);
    return std::make_unique<WKSyslogSender>();
  }

  static int PortOf(const std::string& text) {
    return With("<port>" + text + "</port>")->serverPort;
  }

  // What the number is missing or too large for, as the exception says it.
  template <typename Error>
  static std::string ErrorOf(const std::string& port) {
    try {
      (void)PortOf(port);
    } catch (const Error& error) {
      EXPECT_EQ(typeid(error), typeid(Error));
      return error.what();
    }
    return "none";
  }
};

TEST_F(SyslogSettings, FileThatNamesNothingLeavesTheDefaults) {
  const auto sender = With("");
  EXPECT_EQ(sender->serverHost, "127.0.0.1");
  EXPECT_EQ(sender->serverPort, 514);
  EXPECT_EQ(sender->protocol, SyslogConfig::UDP);
  EXPECT_EQ(sender->tlsCACertPath + sender->tlsClientCertPath + sender->tlsClientKeyPath, "");
  EXPECT_EQ(sender->tlsServerName, "");
  EXPECT_FALSE(sender->mutualTLS);
  EXPECT_TRUE(sender->verifyServerCert);
  EXPECT_EQ(ReadFile(kSenderLog), "");
}

TEST_F(SyslogSettings, EveryElementIsTakenOver) {
  const auto sender = With(
      "<host>10.0.0.5</host><port>6514</port><protocol>TCP</protocol>"
      "<tls><ca_cert>/ca.pem</ca_cert><client_cert>/cert.pem</client_cert>"
      "<client_key>/key.pem</client_key><mutual_tls>true</mutual_tls>"
      "<verify_server_cert>false</verify_server_cert><server_name>collector</server_name></tls>");
  EXPECT_EQ(sender->serverHost, "10.0.0.5");
  EXPECT_EQ(sender->serverPort, 6514);
  EXPECT_EQ(sender->protocol, SyslogConfig::TCP);
  EXPECT_EQ(sender->tlsCACertPath, "/ca.pem");
  EXPECT_EQ(sender->tlsClientCertPath, "/cert.pem");
  EXPECT_EQ(sender->tlsClientKeyPath, "/key.pem");
  EXPECT_EQ(sender->tlsServerName, "collector");
  EXPECT_TRUE(sender->mutualTLS);
  EXPECT_FALSE(sender->verifyServerCert);
}

TEST_F(SyslogSettings, RootMayHaveAnyName) {
  WriteFile(kConfigFile, "<?xml version='1.0'?><anything><host>10.0.0.5</host></anything>");
  EXPECT_EQ(WKSyslogSender().serverHost, "10.0.0.5");
}

TEST_F(SyslogSettings, LastOfSeveralElementsWins) {
  const auto sender = With(
      "<host>a</host><port>1</port><host>b</host><port>2</port>"
      "<protocol>TCP</protocol><protocol>UDP</protocol>"
      "<tls><ca_cert>a</ca_cert><mutual_tls>1</mutual_tls><ca_cert>b</ca_cert></tls>"
      "<tls><server_name>c</server_name><mutual_tls>0</mutual_tls></tls>");
  EXPECT_EQ(sender->serverHost, "b");
  EXPECT_EQ(sender->serverPort, 2);
  EXPECT_EQ(sender->protocol, SyslogConfig::UDP);
  EXPECT_EQ(sender->tlsCACertPath, "b");
  EXPECT_EQ(sender->tlsServerName, "c");
  EXPECT_FALSE(sender->mutualTLS);
}

TEST_F(SyslogSettings, UnknownElementsTextAndCommentsAreSkipped) {
  const auto sender = With(
      "<host>yes</host>text<!-- <host>no</host> --><?host no?><Host>no</Host><hosts>no</hosts>"
      "<other><host>no</host><ca_cert>no</ca_cert><tls><ca_cert>no</ca_cert></tls></other>"
      "<tls><server_name>yes</server_name>text<!-- comment --><?server_name no?>"
      "<CA_CERT>no</CA_CERT><x><ca_cert>no</ca_cert></x></tls><?tls <ca_cert>no</ca_cert>?>");
  EXPECT_EQ(sender->serverHost, "yes");
  EXPECT_EQ(sender->tlsCACertPath, "");
  EXPECT_EQ(sender->tlsServerName, "yes");
}

TEST_F(SyslogSettings, ElementsCountOnlyAtTheirPlace) {
  const auto sender = With(
      "<ca_cert>no</ca_cert><server_name>no</server_name><mutual_tls>1</mutual_tls>"
      "<tls><host>no</host><port>1</port><protocol>TLS</protocol></tls>");
  EXPECT_EQ(sender->tlsCACertPath, "");
  EXPECT_EQ(sender->tlsServerName, "");
  EXPECT_FALSE(sender->mutualTLS);
  EXPECT_EQ(sender->get_syslog_config(),
            "Syslog Config Settings:\nserverHost: 127.0.0.1|serverPort: 514|protocol: UDP");
}

TEST_F(SyslogSettings, ValueIsTheWholeTextUntrimmed) {
  const auto sender = With(
      "<host> 10.<b>0.<i>0</i></b><!-- no -->.<![CDATA[5]]>\n&amp;</host>"
      "<tls><ca_cert/><server_name>\tc <x>d</x></server_name></tls>");
  EXPECT_EQ(sender->serverHost, " 10.0.0.5\n&");
  EXPECT_EQ(sender->tlsCACertPath, "");
  EXPECT_EQ(sender->tlsServerName, "\tc d");
}

TEST_F(SyslogSettings, EmptyElementEmptiesItsField) {
  const auto sender = With("<host/><tls><ca_cert>a</ca_cert><ca_cert></ca_cert></tls>");
  EXPECT_EQ(sender->serverHost, "");
  EXPECT_EQ(sender->tlsCACertPath, "");
}

TEST_F(SyslogSettings, PortIsTheNumberAtTheFrontOfItsText) {
  EXPECT_EQ(PortOf(" \n\t6514 "), 6514);
  EXPECT_EQ(PortOf("514abc"), 514);
  EXPECT_EQ(PortOf("5 14"), 5);
  EXPECT_EQ(PortOf("+7"), 7);
  EXPECT_EQ(PortOf("-1"), -1);
  EXPECT_EQ(PortOf("0x10"), 0);
  EXPECT_EQ(PortOf("010"), 10);
  EXPECT_EQ(PortOf("6<b>5</b>14"), 6514);
}

TEST_F(SyslogSettings, PortMayBeAny32BitNumber) {
  EXPECT_EQ(PortOf("70000"), 70000);
  EXPECT_EQ(PortOf("2147483647"), 2147483647);
  EXPECT_EQ(PortOf("-2147483648"), -2147483647 - 1);
}

TEST_F(SyslogSettings, PortWithoutANumberLeavesTheConstructorAsAnError) {
  for (const char* text : {"x", "", " ", "-", "+ 5", "x514"}) {
    EXPECT_EQ(ErrorOf<std::invalid_argument>(text), "stoi") << text;
  }
}

TEST_F(SyslogSettings, PortOutOfRangeLeavesTheConstructorAsAnError) {
  for (const char* text : {"2147483648", "-2147483649", "99999999999999999999"}) {
    EXPECT_EQ(ErrorOf<std::out_of_range>(text), "stoi") << text;
  }
}

TEST_F(SyslogSettings, ErrorOfTheConstructorLeavesNoThreadAndNoFile) {
  EXPECT_EQ(ErrorOf<std::invalid_argument>("x"), "stoi");
  const long files = OpenFiles();
  for (int i = 0; i < 20; ++i) EXPECT_EQ(ErrorOf<std::invalid_argument>("x"), "stoi");
  EXPECT_TRUE(NoSyslogThreadIsLeft());
  EXPECT_EQ(OpenFiles(), files);
}

TEST_F(SyslogSettings, ErrorOfThePortLeavesLoadXMLConfigToo) {
  const auto sender = With("");
  WriteSettings("<port>x</port>");
  EXPECT_THROW(sender->loadXMLConfig(kConfigFile), std::invalid_argument);
  WriteSettings("<port>4294967296</port>");
  EXPECT_THROW(sender->loadXMLConfig(kConfigFile), std::out_of_range);
  EXPECT_EQ(sender->serverPort, 514);
}

TEST_F(SyslogSettings, ProtocolIsNamedInUpperCase) {
  EXPECT_EQ(With("<protocol>UDP</protocol>")->protocol, SyslogConfig::UDP);
  EXPECT_EQ(With("<protocol>TCP</protocol>")->protocol, SyslogConfig::TCP);
  EXPECT_EQ(With("<protocol>TLS</protocol>")->protocol, SyslogConfig::TLS);
  EXPECT_EQ(With("<protocol>tls</protocol>")->protocol, SyslogConfig::UDP);
}

TEST_F(SyslogSettings, UnknownProtocolChangesNothing) {
  for (const char* text : {"udp", "Udp", " UDP", "UDP ", "", "0", "UDPX", "TL"}) {
    const auto sender =
        With("<protocol>TCP</protocol><protocol>" + std::string(text) + "</protocol>");
    EXPECT_EQ(sender->protocol, SyslogConfig::TCP) << text;
  }
}

TEST_F(SyslogSettings, OnlyTrueAnd1AreTrue) {
  for (const auto& [text, value] : {std::pair("true", true),
                                    {"1", true},
                                    {"TRUE", false},
                                    {"yes", false},
                                    {" true", false},
                                    {"1 ", false},
                                    {"", false},
                                    {"false", false},
                                    {"0", false},
                                    {"01", false}}) {
    const std::string tags = std::string(">") + text + "</";
    const auto sender = With("<tls><mutual_tls>1</mutual_tls><mutual_tls" + tags +
                             "mutual_tls>"
                             "<verify_server_cert" +
                             tags + "verify_server_cert></tls>");
    EXPECT_EQ(sender->mutualTLS, value) << text;
    EXPECT_EQ(sender->verifyServerCert, value) << text;
  }
}

TEST_F(SyslogSettings, AreReadFromAFixedPath) {
  EXPECT_EQ(With("")->configPath, "/opt/mossgrove/config/syslog_config.xml");
}

TEST_F(SyslogSettings, AreReadOnce) {
  const auto sender = With("<host>10.0.0.5</host>");
  WriteSettings("<host>10.0.0.6</host>");
  EXPECT_THAT(sender->get_syslog_config(), testing::HasSubstr("10.0.0.5"));
  EXPECT_EQ(sender->serverHost, "10.0.0.5");
}

TEST_F(SyslogSettings, SecondLoadChangesWhatItNamesOnly) {
  const auto sender = With("<host>10.0.0.5</host><port>1</port>");
  WriteSettings("<port>2</port>");
  EXPECT_TRUE(sender->loadXMLConfig(kConfigFile));
  EXPECT_EQ(sender->serverHost, "10.0.0.5");
  EXPECT_EQ(sender->serverPort, 2);
}

}  // namespace
}  // namespace wkagent::test
