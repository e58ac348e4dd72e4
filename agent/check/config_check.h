#ifndef WKAGENT_AGENT_CHECK_CONFIG_CHECK_H
#define WKAGENT_AGENT_CHECK_CONFIG_CHECK_H

#include <string>

#include "agent/exit_status.h"

namespace wkagent {

// Checks every file of the home's config folder that the agent knows, and changes nothing. Standard
// output tells what was understood, with notes, and ends with a line of totals; standard error
// tells what was not, as "FILE:LINE: error: ..." and "FILE:LINE: warning: ...". kDone without
// errors, else kBadConfiguration. `ldapSettings`, unless empty, is the path of the LDAP settings
// that are to be checked in place of the home's; `syslogSettings`, unless empty, that of the remote
// syslog's, which are then checked as well.
[[nodiscard]] ExitStatus CheckConfig(const std::string& home, const std::string& ldapSettings = {},
                                     const std::string& syslogSettings = {});

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_CONFIG_CHECK_H
