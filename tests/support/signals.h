#ifndef WKAGENT_TESTS_SUPPORT_SIGNALS_H
#define WKAGENT_TESTS_SUPPORT_SIGNALS_H

#include <csignal>
#include <ctime>

#include <pthread.h>

namespace wkagent::test {

inline sigset_t OnlyBrokenPipe() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  return signals;
}

inline bool BrokenPipeIsPending() {
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, SIGPIPE) == 1;
}

inline bool BrokenPipeIsBlocked() {
  sigset_t blocked;
  pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  return sigismember(&blocked, SIGPIPE) == 1;
}

// Blocks SIGPIPE in this thread, as a host may. One that is pending at the end is taken away.
class BlockedBrokenPipe {
 public:
  BlockedBrokenPipe() { pthread_sigmask(SIG_BLOCK, &signals_, &before_); }
  ~BlockedBrokenPipe() {
    const timespec now{};
    while (sigtimedwait(&signals_, nullptr, &now) > 0) {
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  BlockedBrokenPipe(const BlockedBrokenPipe&) = delete;
  BlockedBrokenPipe& operator=(const BlockedBrokenPipe&) = delete;

 private:
  const sigset_t signals_ = OnlyBrokenPipe();
  sigset_t before_{};
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_SIGNALS_H
