// Remote syslog, sent, stored and sent again, while calls fail.

#include <array>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <wkagent/syslog.h>

#include "faults/collector_process.h"
#include "faults/fault_control.h"
#include "faults/ledger.h"
#include "faults/torture.h"
#include "support/collector.h"
#include "support/test_certificates.h"
#include "support/wait_until.h"
#include "syslog/syslog_fixture.h"

namespace wkagent::test {
namespace {

constexpr int kLines = 3;
constexpr std::chrono::seconds kSoon(3);

class TorturedSyslog : public SyslogTest {
 protected:
  explicit TorturedSyslog(bool tls = false) : collector_(tls ? IdentityIn(folder_) : Identity{}) {}

  // Empties what a run has left.
  void Clear() {
    std::filesystem::remove_all(kStore);
    std::filesystem::resize_file(kSenderLog, 0);
    collector_.Forget();
  }

  static std::string Stored() {
    std::string text;
    if (!std::filesystem::is_directory(kStore)) return text;
    for (const auto& entry : std::filesystem::directory_iterator(kStore)) {
      text += ReadFile(entry.path());
    }
    return text;
  }

  static void SettingsWithin(const std::string& protocol, int port, const std::string& more = "") {
    const WithoutFaults within;
    WriteSettings("<host>127.0.0.1</host><port>" + std::to_string(port) + "</port><protocol>" +
                  protocol + "</protocol>" + more);
  }

  void Settings(const std::string& protocol, const std::string& more = "") {
    SettingsWithin(protocol, collector_.Port(), more);
  }

  [[nodiscard]] bool HasReadSettings(const WKSyslogSender& sender) const {
    return sender.protocol == expected_ && sender.serverPort != SyslogConfig().serverPort;
  }

  // Lines, and which of them were taken.
  struct Batch {
    std::vector<std::string> names;
    std::vector<std::string> lines;
    std::array<bool, kLines> taken = {};
  };

  // Sends lines, lets the store be sent again, and ends. All that the test does on its own account
  // comes before and after: a pause of the faults would hold for the sender's thread as well.
  void SendLines(Ledger& ledger, bool& told) {
    Batch batch = NewBatch(ledger);
    try {
      Send(batch, told);
    } catch (...) {
      NoteTaken(ledger, batch);
      throw;
    }
    NoteTaken(ledger, batch);
  }

  static Batch NewBatch(Ledger& ledger) {
    const WithoutFaults within;
    Batch batch;
    for (int i = 0; i < kLines; ++i) {
      batch.names.push_back(ledger.NextName());
      batch.lines.push_back("<110>1 - host wkagentd - EDA - " + batch.names.back());
    }
    return batch;
  }

  static void NoteTaken(Ledger& ledger, const Batch& batch) {
    for (std::size_t i = 0; i < batch.taken.size(); ++i) {
      if (batch.taken[i]) ledger.NoteTaken(batch.names[i]);
    }
  }

  void Send(Batch& batch, bool& told) {
    WKSyslogSender sender;
    sender.SetSafeDelivery(true);
    // Settings that cannot be read are reported, and leave the defaults.
    if (!HasReadSettings(sender)) {
      told = true;
      return;
    }
    for (std::size_t i = 0; i < batch.lines.size(); ++i) {
      batch.taken[i] = sender.send(batch.lines[i]);
      told = told || !batch.taken[i];
    }
    told = !sender.WaitUntilEmpty(kSoon) || told;
    sender.retryHandler.retryPendingFiles();
    told = sender.GetCounters().dropped > 0 || told;
  }

  Outcome Round(const AgentHome& home) {
    Ledger ledger(home);
    bool told = false;
    try {
      SendLines(ledger, told);
    } catch (const std::bad_alloc&) {
      told = true;
    } catch (const std::system_error&) {
      told = true;  // no thread
    }
    return Account(ledger, told);
  }

  static bool SaysThatLinesAreLost() {
    return ReadFile(kSenderLog).find("Lines lost: ") != std::string::npos;
  }

  Outcome Account(Ledger& ledger, bool told) {
    const WithoutFaults within;
    // What was taken is at the collector, or on its way there, or stored.
    const bool kept =
        WaitUntil([&] { return ledger.AllTakenAre(collector_.Received() + Stored()); }, kSoon);
    if (!kept && SaysThatLinesAreLost()) {
      ledger.Forgive();
      return {.complete = false, .told = true};
    }
    if (!kept) {
      std::cerr << "lost: " << ledger.Missing(collector_.Received() + Stored()) << '\n';
      return {.complete = false, .told = false};
    }
    return {.complete = !told && ledger.AllNamedAre(collector_.Received()) && Stored().empty(),
            .told = true};
  }

  Torture Tortured() {
    Torture torture([this](const AgentHome& home) { return Round(home); });
    torture.Under("/opt/mossgrove").Before([this] { Clear(); });
    return torture;
  }

  static Identity IdentityIn(const AgentHome& folder) {
    return CertificateAuthority(folder.Path("tmp"), "ca")
        .Issue({.alternativeNames = "DNS:collector"});
  }

  const AgentHome folder_;
  CollectorProcess collector_;
  SyslogProtocol expected_ = SyslogConfig::TCP;
};

const std::vector<Failure> kMemory = {{"allocate", "errno:ENOMEM"},
                                      {"allocate", "errno:ENOMEM", 0}};

const std::vector<Failure> kNetwork = {
    {"socket", "errno:EMFILE"},        {"socket", "errno:EMFILE", 0},
    {"connect", "errno:ECONNREFUSED"}, {"connect", "errno:ENETUNREACH", 0},
    {"send", "errno:ECONNRESET"},      {"send", "errno:EPIPE", 0}};

const std::vector<Failure> kThreads = {{"pthread_create", "errno:EAGAIN"},
                                       {"pthread_create", "errno:EAGAIN", 0}};

TEST_F(TorturedSyslog, OverTcpKeepsWhatItTookWhereMemoryRunsOut) {
  Settings("TCP");
  // libxml2 loses a file's reader that it has no memory for.
  Tortured().Allowing(2).AtMost(60).Fail(kMemory);
}

TEST_F(TorturedSyslog, OverTcpKeepsWhatItTookWhereTheNetworkFails) {
  Settings("TCP");
  Tortured().Fail(kNetwork);
  Tortured().LosingNothing().Fail({{"send", "short"}});
}

TEST_F(TorturedSyslog, KeepsWhatItTookWhereNoThreadStarts) {
  Settings("TCP");
  Tortured().Fail(kThreads);
}

// With the collector away, so that lines are stored, and then back.
TEST_F(TorturedSyslog, KeepsWhatItTookWhereTheStoreFails) {
  const RefusingPort nobody;
  Torture torture([&](const AgentHome& home) {
    Ledger ledger(home);
    bool told = false;
    SettingsWithin("TCP", nobody.Port());
    try {
      SendLines(ledger, told);
      SettingsWithin("TCP", collector_.Port());
      if (told) return Account(ledger, told);
      WKSyslogSender later;
      later.SetSafeDelivery(true);
      told = told || !HasReadSettings(later);
      if (!told) later.retryHandler.retryPendingFiles();
    } catch (const std::bad_alloc&) {
      told = true;
    }
    return Account(ledger, told);
  });
  torture.Under("/opt/mossgrove/auditdata").Before([this] { Clear(); }).Allowing(2).AtMost(40);
  torture.Fail({{"open", "errno:EMFILE"},
                {"open", "errno:EMFILE", 0},
                {"write", "errno:ENOSPC"},
                {"write", "errno:ENOSPC", 0},
                {"write", "short"},
                {"mkdir", "errno:EACCES"},
                {"lock", "errno:EIO"},
                {"read", "errno:EIO"},
                {"unlink", "errno:EROFS"},
                {"allocate", "errno:ENOMEM"}});
}

TEST_F(TorturedSyslog, OverUdpSaysWhatItCouldNotSend) {
  expected_ = SyslogConfig::UDP;
  Settings("UDP");
  Tortured().Allowing(2).Fail({{"socket", "errno:EMFILE"},
                               {"socket", "errno:EMFILE", 0},
                               {"send", "errno:ENETUNREACH"},
                               {"allocate", "errno:ENOMEM"}});
}

class TorturedTls : public TorturedSyslog {
 protected:
  TorturedTls() : TorturedSyslog(true) {
    expected_ = SyslogConfig::TLS;
    Settings("TLS", "<tls><ca_cert>" + folder_.Path("tmp/ca.pem") +
                        "</ca_cert><server_name>collector</server_name></tls>");
  }
};

TEST_F(TorturedTls, KeepsWhatItTookWhereTlsFails) {
  Tortured().Fail({{"tls", "errno:EIO"}, {"tls", "errno:EIO", 0}, {"connect", "errno:EIO"}});
}

TEST_F(TorturedTls, KeepsWhatItTookWhereMemoryRunsOut) {
  Tortured().Allowing(4).AtMost(40).Fail({{"allocate", "errno:ENOMEM"}});
}

}  // namespace
}  // namespace wkagent::test
