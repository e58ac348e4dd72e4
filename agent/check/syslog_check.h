#ifndef WKAGENT_AGENT_CHECK_SYSLOG_CHECK_H
#define WKAGENT_AGENT_CHECK_SYSLOG_CHECK_H

#include "agent/check/check_report.h"

namespace wkagent {

// The settings of the remote syslog, the same for all agents of a machine.
inline constexpr char kSyslogSettingsPath[] = "/opt/mossgrove/config/syslog_config.xml";

// Reads the report's file and checks it whole. Prints nothing.
void CheckSyslogSettings(CheckReport& report);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_SYSLOG_CHECK_H
