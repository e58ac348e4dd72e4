#ifndef WKAGENT_AGENT_TEST_ALERT_H
#define WKAGENT_AGENT_TEST_ALERT_H

#include <string>

#include "agent/exit_status.h"

namespace wkagent {

// One alert that an operator sends to prove the settings.
struct TestAlert {
  std::string kind;  // "mail", "snmp" or "syslog"; empty for none
  std::string text;
  std::string to;  // of a mail; empty for the addresses of DaemonSettings.xml
};

// Sends the alert with the settings of the home. kDone when the server took it, as far as that can
// be known.
[[nodiscard]] ExitStatus SendTestAlert(const std::string& home, const TestAlert& alert);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_TEST_ALERT_H
