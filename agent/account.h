#ifndef WKAGENT_AGENT_ACCOUNT_H
#define WKAGENT_AGENT_ACCOUNT_H

#include <string>

#include <sys/types.h>

namespace wkagent {

// Whose rights the agent works with.
struct Account {
  std::string name;
  uid_t user = 0;
  gid_t group = 0;
};

// The account of "NAME" or "NAME:GROUP"; without a group it has the user's own. Empty, or what is
// wrong with the text.
[[nodiscard]] std::string FindAccount(const std::string& text, Account& account);

// That of the process.
[[nodiscard]] Account CurrentAccount();

}  // namespace wkagent

#endif  // WKAGENT_AGENT_ACCOUNT_H
