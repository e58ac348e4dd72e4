#ifndef WKAGENT_TESTS_COLLECTORS_DELIVERY_FIXTURE_H
#define WKAGENT_TESTS_COLLECTORS_DELIVERY_FIXTURE_H

// A sender against collectors on loopback, as a host and its operator see it: lines, counters, what
// the collector has in the end, and what the diagnostic files say.

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wkagent/syslog.h>

#include "collectors/collector_program.h"
#include "collectors/numbered_lines.h"
#include "support/agent_home.h"
#include "support/test_certificates.h"

namespace wkagent::test {

// What the "tls" element of a sender's settings says.
struct SenderTls {
  std::string ca;
  std::string serverName = "collector";
  Identity client = {};
  bool mutual = false;
  bool verify = true;
};

// The process has a network of its own, whose TCP buffers hold kSocketBuffer bytes at the most: the
// sender's and the collector's together are what a broken connection may lose. It lies in a /opt of
// its own, too, where each test starts without stored lines and with empty diagnostic files.
class DeliveryTest : public ::testing::Test {
 protected:
  static constexpr std::size_t kSocketBuffer = 64 * 1024;
  static constexpr char kAuditData[] = "/opt/mossgrove/auditdata";
  static constexpr char kRetryDirectory[] = "/opt/mossgrove/auditdata/nsa";

  DeliveryTest();
  ~DeliveryTest() override;

  // Writes the settings of the senders to come.
  static void UseUdp(int port) { WriteSettings("UDP", port, {}); }
  static void UseTcp(int port) { WriteSettings("TCP", port, {}); }
  static void UseTls(int port, const SenderTls& tls);
  static void Use(Transport transport, int port, const SenderTls& tls);

  // Starts a collector, with a certificate for "collector", and points the senders to it.
  [[nodiscard]] CollectorProgram Start(Program program, Transport transport);

  // Sends numbered lines.
  static void Feed(WKSyslogSender& sender, int first, int last);

  // Sends kMark and waits until the collector has written it, and so all before it.
  [[nodiscard]] static bool WaitForMark(WKSyslogSender& sender, const CollectorProgram& collector);

  // Waits until no line is queued, then lets the retry handler send what is stored, until nothing
  // is. False where that never comes.
  [[nodiscard]] static bool Drain(WKSyslogSender& sender);

  // What the diagnostic files say.
  [[nodiscard]] static std::string Diagnostics();
  [[nodiscard]] static std::string RetryDiagnostics();

  // The lines in the batch files.
  [[nodiscard]] static std::vector<std::string> StoredLines();

  // Prints the figures of a test, and puts them into its record.
  static void Record(const Tally& tally, const WKSyslogSender& sender);

  AgentHome home_;
  CertificateAuthority authority_;

 private:
  static void WriteSettings(const std::string& protocol, int port, const std::string& more);
};

// The same with each of the collectors: INSTANTIATE_FOR_COLLECTORS(NameOfTheFixture).
class CollectorTest : public DeliveryTest, public ::testing::WithParamInterface<Program> {
 protected:
  [[nodiscard]] CollectorProgram Start(Transport transport) {
    return DeliveryTest::Start(GetParam(), transport);
  }
};

#define INSTANTIATE_FOR_COLLECTORS(fixture)                                          \
  INSTANTIATE_TEST_SUITE_P(With, fixture,                                            \
                           ::testing::Values(Program::kRsyslog, Program::kSyslogNg), \
                           [](const auto& program) { return NameOf(program.param); })

[[nodiscard]] std::string NameOf(Program program);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_COLLECTORS_DELIVERY_FIXTURE_H
