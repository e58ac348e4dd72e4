#include "collectors/delivery_fixture.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <utility>

#include "support/private_root.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using std::chrono::seconds;

constexpr char kSettingsFile[] = "/opt/mossgrove/config/syslog_config.xml";
constexpr char kSenderLog[] = "/opt/mossgrove/log/syslog_sender.log";
constexpr char kRetryLog[] = "/opt/mossgrove/log/syslog_retry.log";

class OwnNetwork : public ::testing::Environment {
 public:
  void SetUp() override {
    EnterPrivateNetwork();
    for (const char* limits : {"tcp_rmem", "tcp_wmem"}) {
      std::ofstream file(std::string("/proc/sys/net/ipv4/") + limits);
      file << "4096 65536 65536" << std::flush;
      ASSERT_TRUE(file.good()) << limits;
    }
  }
};

[[maybe_unused]] const auto* const ownNetwork = ::testing::AddGlobalTestEnvironment(new OwnNetwork);

std::string ReadAll(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

std::string Element(const std::string& name, const std::string& text) {
  return "<" + name + ">" + text + "</" + name + ">";
}

}  // namespace

DeliveryTest::DeliveryTest() : authority_(home_.Path("config"), "authority") {
  std::filesystem::create_directories(kAuditData);
  std::filesystem::remove_all(kRetryDirectory);
  // The library has them open for appending.
  for (const char* log : {kSenderLog, kRetryLog}) std::filesystem::resize_file(log, 0);
}

DeliveryTest::~DeliveryTest() { std::filesystem::remove(kSettingsFile); }

void DeliveryTest::WriteSettings(const std::string& protocol, int port, const std::string& more) {
  std::ofstream(kSettingsFile) << Element("syslog", Element("host", "127.0.0.1") +
                                                        Element("port", std::to_string(port)) +
                                                        Element("protocol", protocol) + more);
}

void DeliveryTest::UseTls(int port, const SenderTls& tls) {
  std::string more = Element("ca_cert", tls.ca) +
                     Element("verify_server_cert", tls.verify ? "true" : "false") +
                     Element("mutual_tls", tls.mutual ? "true" : "false");
  if (!tls.serverName.empty()) more += Element("server_name", tls.serverName);
  if (!tls.client.certificate.empty()) more += Element("client_cert", tls.client.certificate);
  if (!tls.client.key.empty()) more += Element("client_key", tls.client.key);
  WriteSettings("TLS", port, Element("tls", more));
}

void DeliveryTest::Use(Transport transport, int port, const SenderTls& tls) {
  if (transport == Transport::kTls) return UseTls(port, tls);
  transport == Transport::kTcp ? UseTcp(port) : UseUdp(port);
}

void DeliveryTest::Feed(WKSyslogSender& sender, int first, int last) {
  for (int number = first; number < last; ++number) {
    EXPECT_TRUE(sender.send(NumberedLine(number))) << number;
  }
}

bool DeliveryTest::WaitForMark(WKSyslogSender& sender, const CollectorProgram& collector) {
  return sender.send(kMark) && WaitUntil([&] { return collector.EndsWith(kMark); });
}

bool DeliveryTest::Drain(WKSyslogSender& sender) {
  return sender.WaitUntilEmpty(kDeadline) && WaitUntil([&] {
           sender.retryHandler.retryPendingFiles();
           return StoredLines().empty();
         });
}

std::string DeliveryTest::Diagnostics() { return ReadAll(kSenderLog); }

std::string DeliveryTest::RetryDiagnostics() { return ReadAll(kRetryLog); }

std::vector<std::string> DeliveryTest::StoredLines() {
  std::vector<std::string> stored;
  std::error_code missing;
  for (const auto& entry : std::filesystem::directory_iterator(kRetryDirectory, missing)) {
    std::ifstream file(entry.path());
    for (std::string line; std::getline(file, line);) stored.push_back(line);
  }
  return stored;
}

void DeliveryTest::Record(const Tally& tally, const WKSyslogSender& sender) {
  const WKSyslogSender::Counters counters = sender.GetCounters();
  const std::pair<const char*, std::size_t> figures[] = {
      {"sent", counters.sent},
      {"stored", counters.stored},
      {"retried", counters.retried},
      {"dropped", counters.dropped},
      {"connections", counters.connectionsOpened},
      {"arrived", tally.arrived},
      {"again", tally.again},
      {"lost", tally.Lost()},
      {"torn", tally.torn},
      {"lost_bytes", tally.missingBytes},
  };
  std::cout << "figures:";
  for (const auto& [name, figure] : figures) {
    std::cout << ' ' << name << ' ' << figure;
    RecordProperty(name, std::to_string(figure));
  }
  std::cout << std::endl;
}

std::string NameOf(Program program) {
  return program == Program::kRsyslog ? "Rsyslog" : "SyslogNg";
}

CollectorProgram DeliveryTest::Start(Program program, Transport transport) {
  const Identity identity = authority_.Issue({.alternativeNames = "DNS:collector"});
  CollectorProgram collector(program, transport, home_.Path("tmp"),
                             CollectorTls{.ca = authority_.Certificate(), .identity = identity});
  Use(transport, collector.Port(), {.ca = authority_.Certificate()});
  return collector;
}

}  // namespace wkagent::test
