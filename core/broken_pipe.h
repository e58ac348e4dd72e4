#ifndef WKAGENT_CORE_BROKEN_PIPE_H
#define WKAGENT_CORE_BROKEN_PIPE_H

#include <csignal>

namespace wkagent {

// Blocks all signals in the calling thread for good. For the library's own threads: the host's
// handlers then run in the host's threads, and a write is never cut short by one.
void BlockSignalsInThisThread();

// Keeps a SIGPIPE that writes of this thread raise from the host: it is blocked while the object
// exists, and one that was raised meanwhile is taken away. Costs nothing in a thread that called
// BlockSignalsInThisThread.
class BrokenPipeGuard {
 public:
  BrokenPipeGuard();
  ~BrokenPipeGuard();

  BrokenPipeGuard(const BrokenPipeGuard&) = delete;
  BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

 private:
  bool active_ = false;
  sigset_t saved_ = {};
};

}  // namespace wkagent

#endif  // WKAGENT_CORE_BROKEN_PIPE_H
