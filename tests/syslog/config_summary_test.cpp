// The settings in one line.

#include <string>

#include <wkagent/syslog.h>

#include "syslog/syslog_fixture.h"

namespace wkagent::test {
namespace {

class SyslogSummary : public SyslogTest {
 protected:
  SyslogSummary() { WriteSettings(""); }

  // The summary without its first two fields, which are always there.
  static std::string Of(const std::string& elements) {
    WriteSettings("<host>h</host><port>1</port>" + elements);
    const std::string text = WKSyslogSender().get_syslog_config();
    const std::string front = "Syslog Config Settings:\nserverHost: h|serverPort: 1|";
    EXPECT_TRUE(text.starts_with(front)) << text;
    return text.substr(front.size());
  }

  static std::string OfTls(const std::string& elements) {
    std::string text;
    // The files that it names are not there.
    (void)Complaints([&] { text = Of("<protocol>TLS</protocol><tls>" + elements + "</tls>"); });
    return text;
  }
};

TEST_F(SyslogSummary, OfDefaults) {
  EXPECT_EQ(WKSyslogSender().get_syslog_config(),
            "Syslog Config Settings:\nserverHost: 127.0.0.1|serverPort: 514|protocol: UDP");
}

TEST_F(SyslogSummary, LeavesOutTlsSettingsUnlessTheyAreUsed) {
  const std::string tls = "<tls><ca_cert>a</ca_cert><mutual_tls>1</mutual_tls></tls>";
  EXPECT_EQ(Of(tls), "protocol: UDP");
  EXPECT_EQ(Of(tls + "<protocol>TCP</protocol>"), "protocol: TCP");
}

TEST_F(SyslogSummary, OfTlsByDefault) {
  EXPECT_EQ(
      OfTls(""),
      "protocol: TLS|tlsCACertPath: |mutualTLS: false|verifyServerCert: true|tlsServerName: ");
}

TEST_F(SyslogSummary, OfTlsWithEverything) {
  EXPECT_EQ(OfTls("<ca_cert>a</ca_cert><client_cert>b</client_cert><client_key>c</client_key>"
                  "<mutual_tls>1</mutual_tls><server_name>d</server_name>"),
            "protocol: TLS|tlsCACertPath: a|mutualTLS: true|tlsClientCertPath: b"
            "|tlsClientKeyPath: c|verifyServerCert: true|tlsServerName: d");
}

TEST_F(SyslogSummary, OfTlsLeavesOutWhatIsSwitchedOff) {
  EXPECT_EQ(OfTls("<ca_cert>a</ca_cert><client_cert>b</client_cert><client_key>c</client_key>"
                  "<verify_server_cert>0</verify_server_cert><server_name>d</server_name>"),
            "protocol: TLS|tlsCACertPath: a|mutualTLS: false|verifyServerCert: false");
}

TEST_F(SyslogSummary, OfTlsWithClientCertificateOnly) {
  EXPECT_EQ(OfTls("<mutual_tls>1</mutual_tls><verify_server_cert>no</verify_server_cert>"),
            "protocol: TLS|tlsCACertPath: |mutualTLS: true|tlsClientCertPath: |tlsClientKeyPath: "
            "|verifyServerCert: false");
}

TEST_F(SyslogSummary, CallsAnyOtherProtocolTlsButShowsNoSettingsOfIt) {
  WKSyslogSender sender;
  sender.protocol = static_cast<SyslogProtocol>(7);
  sender.serverPort = -70000;
  EXPECT_EQ(sender.get_syslog_config(),
            "Syslog Config Settings:\nserverHost: 127.0.0.1|serverPort: -70000|protocol: TLS");
}

TEST_F(SyslogSummary, ShowsTextsAsTheyAre) {
  WKSyslogSender sender;
  sender.serverHost = " a|b\n%s";
  EXPECT_EQ(sender.get_syslog_config(),
            "Syslog Config Settings:\nserverHost:  a|b\n%s|serverPort: 514|protocol: UDP");
}

}  // namespace
}  // namespace wkagent::test
