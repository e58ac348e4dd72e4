// wksyslog: sends lines from standard input to the remote syslog collector, as the agents do.

#include <chrono>
#include <cstdint>
#include <exception>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include <wkagent/syslog.h>
#include <wkagent/version.h>

namespace {

enum ExitStatus : int {  // the numbers of sysexits(3)
  kDone = 0,
  kUsageError = 64,
  kNotSent = 69,
  kInternalError = 70,
  kBadConfiguration = 78,
};

constexpr char kFooter[] =
    "The settings are those of /opt/mossgrove/config/syslog_config.xml; without that file lines "
    "go\n"
    "to this machine, port 514, over UDP. Lines are sent as they are: write the syslog header "
    "(RFC 5424)\nyourself. What goes wrong is told on standard error. Lines that could not be sent "
    "over TCP or TLS\nare stored below /opt/mossgrove/auditdata/nsa, and sent by the next agent "
    "that "
    "uses them.\n\n"
    "Exit status: 0 all lines sent, 64 wrong usage, 69 some lines were not sent, 70 internal "
    "error,\n"
    "78 bad configuration.";

// Lines in the queue at most. Reading faster than the collector takes them would fill the memory.
constexpr std::uint64_t kMostWaiting = 10000;
constexpr std::uint64_t kProgressEvery = 100000;

std::uint64_t Waiting(const WKSyslogSender& sender) {
  const WKSyslogSender::Counters counters = sender.GetCounters();
  const std::uint64_t done = counters.sent + counters.stored + counters.dropped;
  return counters.queued > done ? counters.queued - done : 0;
}

// Sends every line of standard input; the number of lines.
std::uint64_t SendAll(WKSyslogSender& sender) {
  const bool watched = isatty(STDERR_FILENO) != 0;
  std::uint64_t lines = 0;
  for (std::string line; std::getline(std::cin, line);) {
    (void)sender.send(line);  // what is not taken is counted by the sender
    ++lines;
    if (lines % kMostWaiting == 0) {
      while (Waiting(sender) >= kMostWaiting) sender.WaitUntilEmpty(std::chrono::seconds(1));
    }
    if (watched && lines % kProgressEvery == 0) std::cerr << "\r" << lines << " lines read";
  }
  if (watched && lines >= kProgressEvery) std::cerr << "\r\033[K";
  return lines;
}

int Run(std::chrono::seconds timeout) {
  WKSyslogSender sender;
  sender.SetSafeDelivery(true);
  std::cout << sender.get_syslog_config() << std::endl;
  const std::uint64_t lines = SendAll(sender);
  if (!sender.WaitUntilEmpty(timeout)) {
    std::cerr << "wksyslog: the time is up; the lines that wait are stored\n";
  }
  const WKSyslogSender::Counters counters = sender.GetCounters();
  const std::uint64_t failed = lines - counters.sent - counters.stored;
  std::cout << "wksyslog: sent " << counters.sent << ", stored " << counters.stored << ", failed "
            << failed << std::endl;
  return counters.sent == lines ? kDone : kNotSent;
}

int ReadOptionsAndRun(int argc, char** argv) {
  CLI::App app("Sends lines from standard input to the remote syslog collector of the agents.",
               "wksyslog");
  int timeout = 30;
  app.footer(kFooter);
  app.set_version_flag("--version", "wksyslog " WKAGENT_VERSION);
  app.add_option("--timeout", timeout, "How long to wait at the end until the lines are sent")
      ->type_name("SECONDS")
      ->check(CLI::Range(0, 86400))
      ->capture_default_str();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error, std::cout, std::cerr) == 0 ? kDone : kUsageError;
  }
  std::ios::sync_with_stdio(false);  // which would read byte by byte
  return Run(std::chrono::seconds(timeout));
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return ReadOptionsAndRun(argc, argv);
  } catch (const std::logic_error& error) {
    std::cerr << "wksyslog: /opt/mossgrove/config/syslog_config.xml: the port is no number that "
                 "can be used ("
              << error.what() << ")\n";
    return kBadConfiguration;
  } catch (const std::exception& error) {
    std::cerr << "wksyslog: " << error.what() << '\n';
    return kInternalError;
  }
}
