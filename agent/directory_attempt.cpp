#include "agent/directory_attempt.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <sys/eventfd.h>

#include "agent/directory_connection.h"

namespace wkagent {
namespace {

Fd MakeEvent() {
  Fd event(eventfd(0, EFD_CLOEXEC));
  if (!event.IsOpen()) throw std::system_error(errno, std::generic_category(), "eventfd");
  return event;
}

}  // namespace

DirectoryAttempt::DirectoryAttempt(const tagLDAPConfig& config, std::string caFile)
    : config_(config),
      caFile_(std::move(caFile)),
      done_(MakeEvent()),
      thread_("wk-connect", [this] { Run(); }) {}

void DirectoryAttempt::Run() {
  outcome_.ldap = ConnectDirectory(config_, caFile_, outcome_.encrypted, outcome_.error);
  WipePassword(config_);
  isDone_ = true;
  eventfd_write(done_.Get(), 1);
}

DirectoryAttempt::Outcome DirectoryAttempt::Take() { return std::move(outcome_); }

}  // namespace wkagent
