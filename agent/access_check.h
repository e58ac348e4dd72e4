#ifndef WKAGENT_AGENT_ACCESS_CHECK_H
#define WKAGENT_AGENT_ACCESS_CHECK_H

#include <string>
#include <vector>

#include "agent/options.h"

namespace wkagent {

// What the process, which has become another user, will have to open later and may not: the home's
// folders and settings, a feed that is followed through its rotation, certificates, and with
// --syslog the store of lines that could not be sent. A line each.
[[nodiscard]] std::vector<std::string> CheckAccess(const std::string& home, const Options& options);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_ACCESS_CHECK_H
