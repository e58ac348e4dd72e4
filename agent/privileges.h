#ifndef WKAGENT_AGENT_PRIVILEGES_H
#define WKAGENT_AGENT_PRIVILEGES_H

#include <string>

#include "agent/account.h"

namespace wkagent {

// Becomes this user for good, with the user's supplementary groups and without any capability.
// Empty, or why that failed; the process must not go on then. It has one thread.
[[nodiscard]] std::string BecomeUser(const Account& account);

// Gives up for good what the process, which stays the user that it is, does not need. A root keeps
// CAP_DAC_READ_SEARCH alone, to read feeds and settings of other users: it can change no file but
// its own and those that its user and group may. Empty, or why that failed.
[[nodiscard]] std::string DropCapabilities();

}  // namespace wkagent

#endif  // WKAGENT_AGENT_PRIVILEGES_H
