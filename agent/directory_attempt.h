#ifndef WKAGENT_AGENT_DIRECTORY_ATTEMPT_H
#define WKAGENT_AGENT_DIRECTORY_ATTEMPT_H

#include <atomic>
#include <string>

#include <wkagent/config.h>

#include "agent/interruptible_thread.h"
#include "agent/ldap_handles.h"
#include "core/handles.h"

namespace wkagent {

// One attempt to connect to a directory server, in a thread of its own: a server that does not
// answer may take a minute, and the agent must obey signals meanwhile. Its end breaks the attempt
// off.
class DirectoryAttempt {
 public:
  struct Outcome {
    LdapPtr ldap;  // null where it failed
    bool encrypted = false;
    std::string error;
  };

  DirectoryAttempt(const tagLDAPConfig& config, std::string caFile);

  // A descriptor that can be read once the attempt is over.
  [[nodiscard]] int WaitFd() const { return done_.Get(); }

  [[nodiscard]] bool IsDone() const { return isDone_; }

  // What came of it, once, when it is done.
  [[nodiscard]] Outcome Take();

 private:
  void Run();

  tagLDAPConfig config_;  // the thread's
  const std::string caFile_;
  Outcome outcome_;  // the thread's, until it sets the next
  std::atomic<bool> isDone_ = false;
  const Fd done_;               // tells who waits
  InterruptibleThread thread_;  // the last member: it uses the others
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_DIRECTORY_ATTEMPT_H
