#include "agent/privileges.h"

#include <cerrno>
#include <cstring>

#include <cap-ng.h>
#include <grp.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "agent/private_memory.h"

namespace wkagent {
namespace {

std::string Failed(const std::string& what) { return what + ": " + std::strerror(errno); }

// Nothing that the process starts or becomes can gain what it has not. The bounding set is out of
// reach of all but root, for whom alone it matters.
std::string ForbidNewPrivileges() {
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return Failed("no_new_privs");
  if (capng_have_capability(CAPNG_EFFECTIVE, CAP_SETPCAP) == 0) return {};
  capng_clear(CAPNG_SELECT_BOUNDS);
  return capng_apply(CAPNG_SELECT_BOUNDS) == 0 ? "" : "the bounding set cannot be emptied";
}

std::string KeepCapabilities(bool reading) {
  capng_clear(CAPNG_SELECT_CAPS);
  capng_clear(CAPNG_SELECT_AMBIENT);
  if (reading) {
    capng_update(CAPNG_ADD, static_cast<capng_type_t>(CAPNG_EFFECTIVE | CAPNG_PERMITTED),
                 CAP_DAC_READ_SEARCH);
  }
  const int applied = capng_apply(CAPNG_SELECT_CAPS) | capng_apply(CAPNG_SELECT_AMBIENT);
  return applied == 0 ? "" : "capabilities cannot be dropped";
}

}  // namespace

std::string BecomeUser(const Account& account) {
  if (geteuid() != 0) return "only root can become " + account.name;
  if (std::string error = ForbidNewPrivileges(); !error.empty()) return error;
  if (initgroups(account.name.c_str(), account.group) != 0) return Failed("initgroups");
  if (setresgid(account.group, account.group, account.group) != 0) return Failed("setresgid");
  if (setresuid(account.user, account.user, account.user) != 0) return Failed("setresuid");
  KeepMemoryPrivate();
  return KeepCapabilities(false);
}

std::string DropCapabilities() {
  if (std::string error = ForbidNewPrivileges(); !error.empty()) return error;
  const bool reads = capng_have_capability(CAPNG_PERMITTED, CAP_DAC_READ_SEARCH) != 0;
  return KeepCapabilities(reads && geteuid() == 0);
}

}  // namespace wkagent
