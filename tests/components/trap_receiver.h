#ifndef WKAGENT_TESTS_COMPONENTS_TRAP_RECEIVER_H
#define WKAGENT_TESTS_COMPONENTS_TRAP_RECEIVER_H

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/free_port.h"
#include "support/process.h"
#include "support/wait_until.h"

namespace wkagent::test {

// An snmptrapd of the test's own on loopback, which writes each trap as one line, its variables
// numeric and separated by tabs. It ends with the object.
class TrapReceiver {
 public:
  // Keeps its files in `folder`, which exists.
  explicit TrapReceiver(const std::string& folder)
      : port_(FreePort(SOCK_DGRAM)), log_(folder + "/traps"), process_(Command(folder)) {
    if (!WaitUntil([this] { return Text().find("NET-SNMP version") != std::string::npos; })) {
      throw std::runtime_error("snmptrapd does not start: " + process_.Errors());
    }
  }

  // Where it listens, "127.0.0.1:PORT".
  [[nodiscard]] std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }

  // Waits for so many traps and returns the lines of their variables.
  [[nodiscard]] std::vector<std::string> WaitForTraps(std::size_t count) const {
    std::vector<std::string> traps;
    (void)WaitUntil([&] {
      traps = Traps();
      return traps.size() >= count;
    });
    return traps;
  }

  [[nodiscard]] std::vector<std::string> Traps() const {
    std::vector<std::string> traps;
    std::istringstream text(Text());
    for (std::string line; std::getline(text, line);) {
      if (line.starts_with("TRAP ")) traps.push_back(line.substr(5));
    }
    return traps;
  }

 private:
  [[nodiscard]] std::vector<std::string> Command(const std::string& folder) const {
    std::ofstream(folder + "/snmptrapd.conf") << "disableAuthorization yes\n";
    // "%v\n" would have the line ends of the values in it.
    return {"env",
            "SNMP_PERSISTENT_DIR=" + folder,
            WKAGENT_SNMPTRAPD,
            "-f",
            "-C",
            "-c",
            folder + "/snmptrapd.conf",
            "-m",
            "",
            "-On",
            "-Ox",
            "-Lf",
            log_,
            "-F",
            "TRAP %v\\n",
            "udp:127.0.0.1:" + std::to_string(port_)};
  }

  [[nodiscard]] std::string Text() const {
    std::ostringstream text;
    text << std::ifstream(log_).rdbuf();
    return text.str();
  }

  const int port_;
  const std::string log_;
  Process process_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_COMPONENTS_TRAP_RECEIVER_H
