// Certificates between senders and the collectors that operators use.

#include "collectors/delivery_fixture.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::StartsWith;

constexpr int kLines = 1000;

class SyslogTlsToCollector : public CollectorTest {
 protected:
  // A collector that needs a certificate of its authority from its clients.
  [[nodiscard]] CollectorProgram StartDemanding(const std::string& version) {
    CollectorTls tls;
    tls.ca = authority_.Certificate();
    tls.identity = authority_.Issue({.alternativeNames = "DNS:collector"});
    tls.asksForCertificate = true;
    tls.oldest = version;
    tls.newest = version;
    return {GetParam(), Transport::kTls, home_.Path("tmp"), tls};
  }

  [[nodiscard]] SenderTls Identified() {
    return {.ca = authority_.Certificate(),
            .client = authority_.Issue({.commonName = "agent"}),
            .mutual = true};
  }

  // Sends lines to the collector, which is to have them all.
  static void ExpectDelivery(const CollectorProgram& collector) {
    WKSyslogSender sender;
    sender.SetSafeDelivery(true);
    Feed(sender, 0, kLines);
    ASSERT_TRUE(WaitForMark(sender, collector));
    EXPECT_EQ(0U, CountLines(collector.Text(), kLines).Lost());
  }

  // Sends lines, which are to be stored for this reason.
  static void ExpectRefusal(const std::string& reason) {
    WKSyslogSender sender;
    sender.SetSafeDelivery(true);
    Feed(sender, 0, kLines);
    ASSERT_TRUE(sender.WaitUntilEmpty(kDeadline));
    EXPECT_EQ(static_cast<std::size_t>(kLines), StoredLines().size());
    EXPECT_THAT(Diagnostics(),
                StartsWith("SSL_connect failed: SSL_get_error=1, error:" + reason + "\n"));
  }
};

INSTANTIATE_FOR_COLLECTORS(SyslogTlsToCollector);

TEST_P(SyslogTlsToCollector, AddressIsEnoughOfAName) {
  CollectorTls tls;
  tls.ca = authority_.Certificate();
  tls.identity = authority_.Issue({.commonName = "any", .alternativeNames = "IP:127.0.0.1"});
  const CollectorProgram collector(GetParam(), Transport::kTls, home_.Path("tmp"), tls);
  UseTls(collector.Port(), {.ca = authority_.Certificate(), .serverName = ""});
  ExpectDelivery(collector);
}

TEST_P(SyslogTlsToCollector, OneOfAnUnknownAuthorityIsRefused) {
  const CollectorProgram collector = Start(Transport::kTls);
  const CertificateAuthority other(home_.Path("outbox"), "other");
  UseTls(collector.Port(), {.ca = other.Certificate()});
  ExpectRefusal("0A000086:SSL routines::certificate verify failed");
}

TEST_P(SyslogTlsToCollector, OneThatDemandsACertificateGetsItOverTls12) {
  const CollectorProgram collector = StartDemanding("1.2");
  UseTls(collector.Port(), Identified());
  ExpectDelivery(collector);
}

TEST_P(SyslogTlsToCollector, OneThatDemandsACertificateGetsItOverTls13) {
  const CollectorProgram collector = StartDemanding("1.3");
  UseTls(collector.Port(), Identified());
  ExpectDelivery(collector);
}

TEST_P(SyslogTlsToCollector, OneThatDemandsACertificateRefusesOthersOverTls12) {
  const CollectorProgram collector = StartDemanding("1.2");
  UseTls(collector.Port(), {.ca = authority_.Certificate()});
  ExpectRefusal("0A000410:SSL routines::sslv3 alert handshake failure");
  EXPECT_EQ("", collector.Text());
}

TEST_P(SyslogTlsToCollector, OneThatDemandsACertificateRefusesOthersOverTls13) {
  const CollectorProgram collector = StartDemanding("1.3");
  UseTls(collector.Port(), {.ca = authority_.Certificate()});
  ExpectRefusal("0A00045C:SSL routines::tlsv13 alert certificate required");
  EXPECT_EQ("", collector.Text());
}

TEST_P(SyslogTlsToCollector, OneThatDemandsACertificateRefusesThoseOfAnotherAuthority) {
  const CollectorProgram collector = StartDemanding("1.3");
  CertificateAuthority other(home_.Path("outbox"), "other");
  UseTls(collector.Port(), {.ca = authority_.Certificate(),
                            .client = other.Issue({.commonName = "agent"}),
                            .mutual = true});
  ExpectRefusal("0A000418:SSL routines::tlsv1 alert unknown ca");
  EXPECT_EQ("", collector.Text());
}

}  // namespace
}  // namespace wkagent::test
