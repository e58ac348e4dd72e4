#ifndef WKAGENT_AGENT_CHECK_SETTINGS_CHECK_H
#define WKAGENT_AGENT_CHECK_SETTINGS_CHECK_H

#include "agent/check/check_report.h"

namespace wkagent {

// Each reads a settings file, prints what it says, without passwords, and checks it whole.
void CheckDaemonSettings(CheckReport& report);
void CheckMemorySettings(CheckReport& report);
void CheckLdapSettings(CheckReport& report);
void CheckManagerList(CheckReport& report);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_SETTINGS_CHECK_H
