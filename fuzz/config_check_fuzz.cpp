// The name of a file of settings, a zero byte, and that file, for --check-config.

#include "agent/check/config_check.h"

#include "fuzz/fuzz.h"
#include "support/agent_home.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent;
  using namespace wkagent::fuzz;
  static const test::AgentHome home;
  constexpr const char* kFiles[] = {"DaemonSettings.xml", "WKMemorySettings.xml", "EDAFilter.xml",
                                    "ELAFilter.xml",      "LDAPSettings.xml",     "ManagerList.xml",
                                    "SMTPSettings.xml",   "SNMPSettings.xml",     "syslog.xml"};
  Parts parts(data, size);
  const std::string name = parts.Next();
  const std::string text = parts.Rest();
  for (const char* file : kFiles) {
    if (name != file) continue;
    home.Write("config/" + name, text);
    const std::string syslog = name == "syslog.xml" ? home.Path("config/syslog.xml") : "";
    const ExitStatus status = CheckConfig(home.Path(""), "", syslog);
    Require(status == ExitStatus::kDone || status == ExitStatus::kBadConfiguration,
            "settings are right or wrong");
    Require(home.Read("config/" + name) == text, "a check changes nothing");
    std::filesystem::remove(home.Path("config/" + name));
  }
  return 0;
}
