#ifndef WKAGENT_AGENT_SPOOL_REPLAY_H
#define WKAGENT_AGENT_SPOOL_REPLAY_H

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <map>
#include <set>
#include <string>
#include <thread>

#include <wkagent/alert.h>
#include <wkagent/mutex.h>

namespace wkagent {

// Sends what lies in the spool files of "../tmp", from a thread of its own, because a mail server
// may take long: at once for what an earlier run left, then every interval. A file that is still
// being written is left for later; what cannot be sent stays, and is tried less and less often, at
// last every ten minutes. Names come from the folder, where others may have put files: only those
// that the library gives are touched, any other that looks like one is reported once.
class SpoolReplay {
 public:
  // `home` is for messages.
  SpoolReplay(std::string home, std::chrono::seconds interval);

  // Ends the thread. A mail or trap that is being sent is waited for, 30 seconds at most.
  ~SpoolReplay();

  SpoolReplay(const SpoolReplay&) = delete;
  SpoolReplay& operator=(const SpoolReplay&) = delete;

  // Any thread.
  void SetInterval(std::chrono::seconds interval);

 private:
  using Clock = std::chrono::steady_clock;

  struct Failure {
    Clock::time_point next;
    std::chrono::seconds delay = {};
  };

  void Run();
  void Pass();
  void Replay(const std::string& name);
  [[nodiscard]] bool MustWait(const std::string& name) const;
  void NoteResult(const std::string& name);
  bool WaitForTurn();

  const std::string home_;
  Mutex mutex_;
  std::condition_variable changed_;
  bool stopped_ WKAGENT_GUARDED_BY(mutex_) = false;
  std::chrono::seconds interval_ WKAGENT_GUARDED_BY(mutex_);

  // The thread's own.
  std::map<std::string, Failure> failures_;
  std::set<std::string> reported_;

  std::thread thread_;  // the last member: it uses the others
};

// True for the name of a spool file of any kind: "SMTP.", "SNMP." or "SysLog.", 14 digits, ".txt".
[[nodiscard]] bool IsSpoolName(const std::string& name);

// Sends what a spool file of "../tmp" holds and removes it; what is not sent stays in it.
void ReplaySpoolFile(const std::string& name);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_SPOOL_REPLAY_H
