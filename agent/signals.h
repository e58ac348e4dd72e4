#ifndef WKAGENT_AGENT_SIGNALS_H
#define WKAGENT_AGENT_SIGNALS_H

#include "core/handles.h"

namespace wkagent {

// The signals that the agent obeys, read from a descriptor instead of handled at any moment:
// SIGTERM and SIGINT stop it, SIGHUP reads filters and settings again, SIGUSR1 prints the totals.
// SIGPIPE is ignored. One object a process, made before any thread.
class Signals {
 public:
  Signals();

  // Takes the signals that have arrived. Where there are none, waits until one arrives, `input`
  // (-1: none) can be read, or `milliseconds` have passed. True when `input` can be read.
  [[nodiscard]] bool Poll(int input, int milliseconds);

  [[nodiscard]] bool StopWanted() const { return stop_; }

  // Each tells once of what was asked for since the last call.
  [[nodiscard]] bool TakeReload();
  [[nodiscard]] bool TakeTotals();

 private:
  Fd fd_;
  bool stop_ = false;
  bool reload_ = false;
  bool totals_ = false;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_SIGNALS_H
