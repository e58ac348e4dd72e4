#ifndef WKAGENT_AGENT_CONFIG_CHECK_H
#define WKAGENT_AGENT_CONFIG_CHECK_H

#include <string>

#include "agent/exit_status.h"

namespace wkagent {

// Checks every file of the home's config folder that the agent knows, and changes nothing. Standard
// output tells what was understood, with notes, and ends with a line of totals; standard error
// tells what was not, as "FILE:LINE: error: ..." and "FILE:LINE: warning: ...". kDone without
// errors, else kBadConfiguration.
[[nodiscard]] ExitStatus CheckConfig(const std::string& home);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CONFIG_CHECK_H
