#include "agent/account.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

namespace wkagent {

// The functions' shared buffers do no harm: the process has one thread when it looks for accounts.

std::string FindAccount(const std::string& text, Account& account) {
  const std::size_t colon = text.find(':');
  account.name = text.substr(0, colon);
  const passwd* const user = getpwnam(account.name.c_str());
  if (user == nullptr) return "there is no user " + account.name;
  account.user = user->pw_uid;
  account.group = user->pw_gid;
  if (colon == std::string::npos) return {};
  const std::string name = text.substr(colon + 1);
  const group* const group = getgrnam(name.c_str());
  if (group == nullptr) return "there is no group " + name;
  account.group = group->gr_gid;
  return {};
}

Account CurrentAccount() {
  const passwd* const user = getpwuid(geteuid());
  return {user == nullptr ? std::to_string(geteuid()) : user->pw_name, geteuid(), getegid()};
}

}  // namespace wkagent
