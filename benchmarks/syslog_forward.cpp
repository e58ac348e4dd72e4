// What a million lines over TCP cost: wksyslog, which reads a file and sends it through
// WKSyslogSender, against rsyslogd, which reads the same file (imfile) and forwards it (omfwd).
// Both send to the same sink on loopback. Must run as root, for a private /opt.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <sys/socket.h>

#include "core/handles.h"
#include "support/private_root.h"
#include "support/process.h"
#include "support/wait_until.h"

namespace {

using wkagent::Fd;
using wkagent::test::Process;

// Takes one connection and counts the lines that arrive on it.
class Sink {
 public:
  Sink() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener_.Get(), any, size) != 0 || listen(listener_.Get(), 1) != 0 ||
        getsockname(listener_.Get(), any, &size) != 0) {
      throw std::runtime_error("no port for the sink");
    }
    port_ = ntohs(address.sin_port);
  }

  [[nodiscard]] int Port() const { return port_; }

  // Returns when so many lines have come, or the peer has closed; the number of lines.
  [[nodiscard]] long Count(long lines) const {
    const Fd connection(accept(listener_.Get(), nullptr, nullptr));
    std::vector<char> buffer(1 << 20);
    long count = 0;
    while (count < lines) {
      const ssize_t length = recv(connection.Get(), buffer.data(), buffer.size(), 0);
      if (length <= 0) break;
      count += std::count(buffer.begin(), buffer.begin() + length, '\n');
    }
    return count;
  }

 private:
  Fd listener_;
  int port_ = 0;
};

struct Figures {
  double cpu = 0;
  double wall = 0;
};

// Starts a program that sends the lines to the port, lets it end by `end` once they have come.
Figures Measure(long lines, const std::function<std::vector<std::string>(int)>& command,
                const std::function<void(Process&)>& end) {
  const Sink sink;
  const std::vector<std::string> words = command(sink.Port());
  const auto start = std::chrono::steady_clock::now();
  Process sender(words);
  const long count = sink.Count(lines);
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  end(sender);
  (void)sender.Wait();
  if (count != lines) {
    throw std::runtime_error(words[0] + " sent " + std::to_string(count) + " lines\n" +
                             sender.Errors());
  }
  return {sender.CpuSeconds(), wall.count()};
}

void WriteLines(const std::string& path, long lines) {
  std::ofstream file(path);
  for (long i = 0; i < lines; ++i) {
    file << "<110>1 2026-11-20T23:59:59Z ldap1.acme.example wkagentd 4711 EDA [wkaudit@32473 "
            "EventID=\"20005\" Status=\"0\" UserName=\"admin.acme\" NodeAddress=\"192.0.2.1\" "
            "Object1=\"user"
         << i % 1000 << ".sales.acme\" Attribute1=\"telephoneNumber\" AttributeValue=\"555-" << i
         << "\" ServerName=\"ldap1\" TreeName=\"acme\"]\n";
  }
}

class Forwarders {
 public:
  Forwarders(std::string folder, long lines) : folder_(std::move(folder)), lines_(lines) {
    WriteLines(folder_ + "/lines", lines_);
  }

  Figures Wksyslog() const {
    return Measure(
        lines_,
        [this](int port) -> std::vector<std::string> {
          std::ofstream("/opt/mossgrove/config/syslog_config.xml")
              << "<syslog><port>" << port << "</port><protocol>TCP</protocol></syslog>";
          return {"sh", "-c", "exec " WKAGENT_WKSYSLOG " < " + folder_ + "/lines"};
        },
        [](Process&) {});
  }

  Figures Rsyslogd() const {
    const std::string work = folder_ + "/rsyslog";
    std::filesystem::remove_all(work);
    std::filesystem::create_directory(work);
    return Measure(
        lines_,
        [&](int port) -> std::vector<std::string> {
          std::ofstream(work + "/conf")
              << "global(workDirectory=\"" << work
              << "\")\nmodule(load=\"imfile\")\n"
              // One thread, so one connection: the sink takes no second one.
              << "main_queue(queue.type=\"LinkedList\" queue.workerThreads=\"1\")\n"
              << "template(name=\"raw\" type=\"string\" string=\"%msg%\\n\")\n"
              << "input(type=\"imfile\" file=\"" << folder_
              << "/lines\" tag=\"lines\" ruleset=\"forward\")\n"
              << "ruleset(name=\"forward\") { action(type=\"omfwd\" target=\"127.0.0.1\" port=\""
              << port << "\" protocol=\"tcp\" template=\"raw\") }\n";
          return {WKAGENT_RSYSLOGD, "-n", "-M",         WKAGENT_RSYSLOG_MODULES, "-f",
                  work + "/conf",   "-i", work + "/pid"};
        },
        [](Process& rsyslogd) { rsyslogd.Signal(SIGTERM); });
  }

 private:
  const std::string folder_;
  const long lines_;
};

void Print(const char* name, const Figures& figures, long lines) {
  const double perMillion = 1e6 / static_cast<double>(lines);
  std::printf("  %-10s %8.2f s CPU %8.2f s wall   a million lines\n", name,
              figures.cpu * perMillion, figures.wall * perMillion);
}

void Compare(long lines, int rounds) {
  wkagent::test::MountTmpfs("/opt", "");
  for (const char* folder : {"config", "log", "auditdata"}) {
    std::filesystem::create_directories(std::string("/opt/mossgrove/") + folder);
  }
  std::string folder = std::filesystem::temp_directory_path() / "wkagent-bench-XXXXXX";
  if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("mkdtemp");
  const Forwarders forwarders(folder, lines);
  std::vector<double> ratios;
  for (int round = 0; round < rounds; ++round) {
    const Figures ours = forwarders.Wksyslog();
    const Figures theirs = forwarders.Rsyslogd();
    Print("wksyslog", ours, lines);
    Print("rsyslogd", theirs, lines);
    ratios.push_back(theirs.cpu / ours.cpu);
  }
  std::filesystem::remove_all(folder);
  std::sort(ratios.begin(), ratios.end());
  std::printf("syslog_forward: rsyslogd takes %.1f times the CPU (median of %d rounds)\n",
              ratios[ratios.size() / 2], rounds);
}

}  // namespace

int main(int argc, char** argv) {
  const long lines = argc > 1 ? std::atol(argv[1]) : 1'000'000;
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 3;
  if (lines <= 0 || rounds <= 0) {
    std::fputs("usage: syslog_forward [LINES [ROUNDS]]\n", stderr);
    return 64;
  }
  try {
    wkagent::test::EnterPrivateRoot();
    Compare(lines, rounds);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "syslog_forward: %s\n", error.what());
    return 70;
  }
}
