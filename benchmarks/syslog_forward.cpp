// What it costs to bring a million lines of 300 bytes to a collector over TCP and over TLS: seconds
// of processor time, all threads and the system's part included, and seconds on the clock.
//
//   wkagent    send and the worker of WKSyslogSender, with lines from memory
//   plain      the same work done as one writes it first (plain_sender.h), in the same program
//   rsyslogd   relays: lines come over TCP and leave as they came
//   syslog-ng  the same; it does not even parse them
//   logger     reads the lines from a file and sends them over TCP
//
// All send to the same sink. A contender is one process; its processor time is counted from when it
// is ready, but for logger, which does not wait, until the last line has come to the sink. Senders
// and feeder hold back while too many lines are under way, so that no queue grows without bound.
// The senders get more lines than the others, or they would be done too soon for the clocks. Must
// run as root, for a private /opt.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <netinet/in.h>
#include <sys/socket.h>

#include <wkagent/syslog.h>

#include "program_results.h"
#include "forward/line_sink.h"
#include "forward/lines.h"
#include "forward/plain_sender.h"
#include "forward/private_opt.h"
#include "forward/relay.h"
#include "support/collector.h"
#include "support/free_port.h"
#include "support/process.h"
#include "support/test_certificates.h"
#include "support/wait_until.h"

namespace {

using wkagent::Fd;
using wkagent::bench::LineSink;
using wkagent::bench::RelayPlan;
using wkagent::test::Process;

constexpr long kSent = 2'000'000;      // lines, by a sender
constexpr long kRelayed = 300'000;     // by the others
constexpr int kSenderTimes = 3;        // a round: what takes so little time varies more
constexpr long kBlock = 100;           // lines between two looks at what is under way
constexpr long kMostInSender = 4'000;  // in a sender
constexpr long kMostInRelay = 20'000;  // in a relay, with what the sockets hold
constexpr std::size_t kSamples = 1'000;

// Returns when at most so many of the lines are under way.
template <typename Arrived>
void HoldBack(long begun, Arrived arrived, long most) {
  while (begun - arrived() > most) std::this_thread::sleep_for(std::chrono::microseconds(300));
}

template <typename Send, typename Sent>
void SendAll(Send send, Sent sent) {
  const std::vector<std::string> samples = wkagent::bench::SampleLines(kSamples);
  std::puts("ready");
  std::fflush(stdout);
  (void)std::getchar();
  for (long i = 0; i < kSent; ++i) {
    send(samples[static_cast<std::size_t>(i) % kSamples]);
    if (i % kBlock == 0) HoldBack(i, sent, kMostInSender);
  }
  HoldBack(kSent, sent, 0);
  (void)std::getchar();
}

// The part of the child process that sends: syslog_forward --send NAME PORT [AUTHORITY].
int SendAs(const std::string& name, int port, const std::string& authority) {
  if (name == "plain") {
    wkagent::bench::PlainSender sender(port, authority);
    SendAll([&](const std::string& line) { sender.Send(line); }, [&] { return sender.Sent(); });
    return 0;
  }
  const std::string protocol = authority.empty() ? "TCP" : "TLS";
  std::ofstream("/opt/mossgrove/config/syslog_config.xml")
      << "<syslog><port>" << port << "</port><protocol>" << protocol << "</protocol><tls><ca_cert>"
      << authority << "</ca_cert></tls></syslog>";
  WKSyslogSender sender;
  SendAll([&](const std::string& line) { sender.send(line); },
          [&] { return static_cast<long>(sender.GetCounters().sent); });
  return 0;
}

// The processor time, in seconds, that a process has taken so far.
double CpuSecondsOf(const Process& process) {
  clockid_t clock = 0;
  timespec time{};
  if (clock_getcpuclockid(process.Id(), &clock) != 0 || clock_gettime(clock, &time) != 0) {
    throw std::runtime_error("a contender has ended: " + process.Errors());
  }
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

struct Figures {
  double cpu = 0;
  double wall = 0;

  [[nodiscard]] Figures PerMillion(long lines) const {
    const double share = 1e6 / static_cast<double>(lines);
    return {cpu * share, wall * share};
  }
};

// Runs `act`, which makes the process send, until the sink has all lines.
Figures Measure(const Process& process, const LineSink& sink, long lines,
                const std::function<void()>& act) {
  const double cpu = CpuSecondsOf(process);
  const auto start = std::chrono::steady_clock::now();
  act();
  while (sink.Lines() < lines) {
    std::this_thread::sleep_for(std::chrono::microseconds(200));
    if (std::chrono::steady_clock::now() - start > std::chrono::minutes(1)) {
      throw std::runtime_error(std::to_string(sink.Lines()) + " lines came. " + process.Errors());
    }
  }
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  return Figures{CpuSecondsOf(process) - cpu, wall.count()}.PerMillion(lines);
}

// Gives the lines to a relay over TCP.
void Feed(int port, const LineSink& sink) {
  const Fd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const sockaddr_in address = wkagent::test::Loopback(port);
  if (connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::runtime_error("a relay does not listen");
  }
  std::string block;
  for (const std::string& line : wkagent::bench::SampleLines(kBlock)) block += line + '\n';
  for (long begun = 0; begun < kRelayed; begun += kBlock) {
    HoldBack(
        begun, [&] { return sink.Lines(); }, kMostInRelay);
    if (send(socket.Get(), block.data(), block.size(), MSG_NOSIGNAL) < 0) {
      throw std::runtime_error("a relay does not listen any more");
    }
  }
  // A relay may end its work with a connection that ends.
  HoldBack(
      kRelayed, [&] { return sink.Lines(); }, 0);
}

bool Listens(int port) {
  const Fd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const sockaddr_in address = wkagent::test::Loopback(port);
  return connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

class Contest {
 public:
  // Over TLS where there is an authority.
  Contest(std::string folder, wkagent::test::CertificateAuthority* authority)
      : folder_(std::move(folder)) {
    if (authority == nullptr) return;
    authority_ = authority->Certificate();
    identity_ = authority->Issue({.alternativeNames = "IP:127.0.0.1"});
  }

  [[nodiscard]] Figures Sender(const std::string& name) const {
    const LineSink sink(Identity());
    Process sender({"/proc/self/exe", "--send", name, std::to_string(sink.Port()), authority_},
                   wkagent::test::Input::kFromTest);
    (void)wkagent::test::WaitUntil([&] { return !sender.Output().empty(); });
    const Figures figures = Measure(sender, sink, kSent, [&] { sender.Write("\n"); });
    sender.CloseInput();
    (void)sender.Wait();
    return figures;
  }

  using Relay = std::vector<std::string> (*)(const RelayPlan&);

  [[nodiscard]] Figures Daemon(Relay relay) const {
    const LineSink sink(Identity());
    const int port = wkagent::test::FreePort();
    Process daemon(relay({folder_, port, sink.Port(), authority_}));
    if (!wkagent::test::WaitUntil([&] { return daemon.HasEnded() || Listens(port); }) ||
        daemon.HasEnded()) {
      throw std::runtime_error("a daemon does not start: " + daemon.Errors());
    }
    const Figures figures = Measure(daemon, sink, kRelayed, [&] { Feed(port, sink); });
    daemon.Signal(SIGTERM);
    (void)daemon.Wait();
    return figures;
  }

  [[nodiscard]] Figures Logger() const {
    const LineSink sink(nullptr);
    const std::string lines = folder_ + "/lines";
    if (!std::filesystem::exists(lines)) WriteLines(lines);
    const auto start = std::chrono::steady_clock::now();
    Process logger({"logger", "--server=127.0.0.1", "--tcp",
                    "--port=" + std::to_string(sink.Port()), "--rfc5424=notime,notq,nohost",
                    "--file=" + lines});
    (void)logger.Wait();
    (void)wkagent::test::WaitUntil([&] { return sink.Lines() >= kRelayed; });
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    if (sink.Lines() < kRelayed) throw std::runtime_error("logger: " + logger.Errors());
    return Figures{logger.CpuSeconds(), wall.count()}.PerMillion(kRelayed);
  }

 private:
  [[nodiscard]] const wkagent::test::Identity* Identity() const {
    return authority_.empty() ? nullptr : &identity_;
  }

  static void WriteLines(const std::string& path) {
    const std::vector<std::string> samples = wkagent::bench::SampleLines(kSamples);
    std::ofstream file(path);
    for (long i = 0; i < kRelayed; ++i)
      file << samples[static_cast<std::size_t>(i) % kSamples] << '\n';
  }

  const std::string folder_;
  std::string authority_;
  wkagent::test::Identity identity_;
};

void CompareAll(wkagent::bench::ProgramResults& results) {
  wkagent::bench::EnterPrivateOpt();
  const std::string folder = "/opt/bench";
  std::filesystem::create_directory(folder);
  wkagent::test::CertificateAuthority authority(folder, "authority");
  const Contest tcp(folder, nullptr);
  const Contest tls(folder, &authority);
  for (int round = 0; round < results.Repetitions(); ++round) {
    const auto add = [&](const std::string& name, const Figures& figures) {
      results.Add("syslog_forward/" + name, round, figures.cpu, figures.wall);
      std::printf("%-14s %6.3f s CPU %6.3f s\n", name.c_str(), figures.cpu, figures.wall);
      std::fflush(stdout);
    };
    for (int time = 0; time < kSenderTimes; ++time) {
      for (const std::string name : {"wkagent", "plain"}) {
        add("tcp/" + name, tcp.Sender(name));
        add("tls/" + name, tls.Sender(name));
      }
    }
    add("tcp/rsyslogd", tcp.Daemon(wkagent::bench::RsyslogdRelay));
    add("tls/rsyslogd", tls.Daemon(wkagent::bench::RsyslogdRelay));
    add("tcp/syslog-ng", tcp.Daemon(wkagent::bench::SyslogNgRelay));
    add("tls/syslog-ng", tls.Daemon(wkagent::bench::SyslogNgRelay));
    add("tcp/logger", tcp.Logger());
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc == 5 && argv[1] == std::string("--send")) {
      return SendAs(argv[2], std::atoi(argv[3]), argv[4]);
    }
    wkagent::bench::ProgramResults results(argc, argv);
    CompareAll(results);
    results.Write();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "syslog_forward: %s\n", error.what());
    return 70;
  }
}
