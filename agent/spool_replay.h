#ifndef WKAGENT_AGENT_SPOOL_REPLAY_H
#define WKAGENT_AGENT_SPOOL_REPLAY_H

#include <array>
#include <chrono>
#include <memory>
#include <string>

#include "agent/kind_replay.h"

namespace wkagent {

// Sends what lies in the spool files of "../tmp", from a thread for each kind of alert, because a
// mail server may take long, and a trap must not wait for it. A file that is still being written is
// left for later; what cannot be sent stays, and is tried less and less often, at last every ten
// minutes. Names come from the folder, where others may have put files: only those that the library
// gives are touched, any other that looks like one is reported once.
class SpoolReplay {
 public:
  // `home` is for messages.
  SpoolReplay(const std::string& home, std::chrono::seconds interval);

  // Ends the threads. What is being sent is broken off, and stays in its file.
  ~SpoolReplay();

  SpoolReplay(const SpoolReplay&) = delete;
  SpoolReplay& operator=(const SpoolReplay&) = delete;

  // Any thread.
  void SetInterval(std::chrono::seconds interval);

 private:
  std::array<std::unique_ptr<KindReplay>, 3> kinds_;
};

// True for the name of a spool file of any kind: "SMTP.", "SNMP." or "SysLog.", 14 digits, ".txt".
[[nodiscard]] bool IsSpoolName(const std::string& name);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_SPOOL_REPLAY_H
