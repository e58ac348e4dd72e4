#ifndef WKAGENT_AGENT_HOME_CHECK_H
#define WKAGENT_AGENT_HOME_CHECK_H

#include <string>
#include <vector>

#include "agent/account.h"

namespace wkagent {

// Whoever may write into the home decides what is audited and where the agent writes. So its
// folders, the settings files and `moreSettings` (paths, wherever they lie) must belong to root or
// to the agent's account, nobody else may write to them, and no link may lead from them out of the
// home. The group may write into the outbox: whoever fetches audit files also removes them. And
// under the names that the agent writes to there may be no links, files with a second name, pipes
// or folders.
//
// What is wrong, and what to do about it, a line each. `home` is absolute.
[[nodiscard]] std::vector<std::string> CheckHome(const std::string& home, const Account& account,
                                                 const std::vector<std::string>& moreSettings);

// Who else could put another home in this one's place, by a folder above it; empty where nobody
// can.
[[nodiscard]] std::string CheckFoldersAbove(const std::string& home, const Account& account);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_HOME_CHECK_H
