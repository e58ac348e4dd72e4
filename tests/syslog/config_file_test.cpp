// Settings files that cannot be read or are damaged.

#include <filesystem>
#include <string>

#include <wkagent/syslog.h>

#include "syslog/syslog_fixture.h"

namespace wkagent::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

constexpr char kUnreadable[] =
    "Unable to read XML config: /opt/mossgrove/config/syslog_config.xml\n";
constexpr char kNotLoaded[] =
    "Failed to load syslog config from: /opt/mossgrove/config/syslog_config.xml\n";

class SyslogSettingsFile : public SyslogTest {
 protected:
  // A sender that cannot read its settings says so and has the defaults. The XML parser has its own
  // say on standard error.
  static void ExpectDefaultsWithMessages() {
    const std::string said = Complaints([] {
      EXPECT_EQ(WKSyslogSender().get_syslog_config(),
                "Syslog Config Settings:\nserverHost: 127.0.0.1|serverPort: 514|protocol: UDP");
    });
    EXPECT_THAT(said, EndsWith(std::string(kUnreadable) + kNotLoaded));
    EXPECT_EQ(ReadFile(kSenderLog), std::string(kUnreadable) + kNotLoaded);
  }
};

TEST_F(SyslogSettingsFile, MissingOneIsReportedTwice) { ExpectDefaultsWithMessages(); }

TEST_F(SyslogSettingsFile, EmptyOneIsReportedTwice) {
  WriteFile(kConfigFile, "");
  ExpectDefaultsWithMessages();
}

TEST_F(SyslogSettingsFile, FolderInItsPlaceIsReportedTwice) {
  std::filesystem::create_directory(kConfigFile);
  ExpectDefaultsWithMessages();
}

TEST_F(SyslogSettingsFile, OneThatIsNotXmlIsReportedTwice) {
  WriteFile(kConfigFile, "<syslog><host>10.0.0.5</host></other>");
  ExpectDefaultsWithMessages();
}

TEST_F(SyslogSettingsFile, LoadSaysOnceThatItFailed) {
  WKSyslogSender sender;
  std::filesystem::resize_file(kSenderLog, 0);
  const std::string said =
      Complaints([&] { EXPECT_FALSE(sender.loadXMLConfig("/opt/mossgrove/none.xml")); });
  EXPECT_THAT(said, EndsWith("Unable to read XML config: /opt/mossgrove/none.xml\n"));
  EXPECT_EQ(ReadFile(kSenderLog), "Unable to read XML config: /opt/mossgrove/none.xml\n");
}

TEST_F(SyslogSettingsFile, LoadReportsEveryFailureAgain) {
  const std::string said = Complaints([] { WKSyslogSender().loadXMLConfig(kConfigFile); });
  EXPECT_THAT(said, HasSubstr(kNotLoaded));
  EXPECT_EQ(ReadFile(kSenderLog), std::string(kUnreadable) + kNotLoaded + kUnreadable);
}

TEST_F(SyslogSettingsFile, FailedLoadChangesNothing) {
  WriteSettings("<host>10.0.0.5</host>");
  WKSyslogSender sender;
  WriteFile(kConfigFile, "<syslog><host>10.0.0.6</host>");
  EXPECT_FALSE(sender.loadXMLConfig(kConfigFile));
  EXPECT_EQ(sender.serverHost, "10.0.0.5");
}

TEST_F(SyslogSettingsFile, CutAnywhereItIsNotReadAndHarmless) {
  const std::string document =
      "<?xml version=\"1.0\"?>\n<!-- collector --><syslog><host>10.&#48;.0.5</host>"
      "<port>6514</port><protocol>TCP</protocol><other a='b'/><tls><ca_cert>"
      "<![CDATA[/ca.pem]]></ca_cert><mutual_tls>1</mutual_tls></tls></syslog>";
  WriteSettings("");
  WKSyslogSender sender;
  (void)Complaints([&] {
    for (std::size_t size = 0; size < document.size(); ++size) {
      WriteFile(kConfigFile, document.substr(0, size));
      EXPECT_FALSE(sender.loadXMLConfig(kConfigFile)) << size;
      EXPECT_EQ(sender.serverPort, 514) << size;
    }
  });
  WriteFile(kConfigFile, document);
  EXPECT_TRUE(sender.loadXMLConfig(kConfigFile));
  EXPECT_EQ(sender.serverHost, "10.0.0.5");
}

}  // namespace
}  // namespace wkagent::test
