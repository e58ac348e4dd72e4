#ifndef WKAGENT_AGENT_KIND_REPLAY_H
#define WKAGENT_AGENT_KIND_REPLAY_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include <wkagent/mutex.h>

#include "agent/interruptible_thread.h"

namespace wkagent {

// A kind of alert, as its spool files tell it.
struct AlertKind {
  std::string_view prefix;  // of their names
  const char* thread;       // its name
  const char* alerts;       // for messages
  void (*replay)(const std::string& path, const std::atomic<bool>& stop);
};

// Sends what lies in the spool files of one kind of alert, from a thread of its own: see
// SpoolReplay. Where one file after the other cannot be sent, the rest waits for the next pass.
class KindReplay {
 public:
  KindReplay(const AlertKind& kind, std::string home, std::chrono::seconds interval);
  ~KindReplay();

  KindReplay(const KindReplay&) = delete;
  KindReplay& operator=(const KindReplay&) = delete;

  // Any thread.
  void SetInterval(std::chrono::seconds interval);

  // The end begins; the destructor waits for it.
  void Stop();

 private:
  using Clock = std::chrono::steady_clock;

  struct Failure {
    Clock::time_point next;
    std::chrono::seconds delay = {};
  };

  void Run();
  void Pass();
  [[nodiscard]] bool FolderTakesChanges();
  void ReportStranger(const std::string& name, const char* what);
  [[nodiscard]] bool MustWait(const std::string& name) const;
  [[nodiscard]] bool Sends(const std::string& name);
  void NoteFailure(const std::string& name);
  bool WaitForTurn();

  const AlertKind kind_;
  const std::string home_;
  std::atomic<bool> stop_ = false;
  Mutex mutex_;
  std::condition_variable changed_;
  std::chrono::seconds interval_ WKAGENT_GUARDED_BY(mutex_);

  // The thread's own.
  std::map<std::string, Failure> failures_;
  std::set<std::string> reported_;
  bool folderReported_ = false;

  InterruptibleThread thread_;  // the last member: it uses the others
};

// True for the name of a spool file of this kind: its prefix, 14 digits, ".txt".
[[nodiscard]] bool IsSpoolName(const AlertKind& kind, std::string_view name);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_KIND_REPLAY_H
