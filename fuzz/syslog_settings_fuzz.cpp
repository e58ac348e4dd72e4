// The settings of the remote syslog.

#include <stdexcept>

#include <wkagent/syslog.h>

#include "fuzz/fuzz.h"
#include "support/private_opt.h"

extern "C" int LLVMFuzzerInitialize(int*, char*** argv) {
  // A sender reads and logs at fixed places.
  wkagent::test::RunInPrivateOpt(*argv);
  return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  static MemoryFile file;
  static WKSyslogSender sender;
  file.Replace({reinterpret_cast<const char*>(data), size});
  static_cast<SyslogConfig&>(sender) = SyslogConfig{};
  bool taken = false;
  try {
    taken = sender.loadXMLConfig(file.Path());
  } catch (const std::logic_error& error) {
    Require(std::string(error.what()) == "stoi", "only the port is refused with an exception");
    return 0;
  }
  const bool knownProtocol = sender.protocol == SyslogConfig::UDP ||
                             sender.protocol == SyslogConfig::TCP ||
                             sender.protocol == SyslogConfig::TLS;
  Require(knownProtocol, "there are three protocols");
  const std::string summary = sender.get_syslog_config();
  Require(summary.find("serverHost: " + sender.serverHost) != std::string::npos,
          "the summary names the collector");
  Require(taken || summary ==
                       "Syslog Config Settings:\nserverHost: 127.0.0.1|serverPort: 514|"
                       "protocol: UDP",
          "a file that is refused changes nothing");
  return 0;
}
