#include "core/broken_pipe.h"

#include <cerrno>
#include <ctime>

#include <pthread.h>

namespace wkagent {
namespace {

thread_local bool signalsBlocked = false;

sigset_t OnlyBrokenPipe() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  return signals;
}

}  // namespace

void BlockSignalsInThisThread() {
  sigset_t all;
  sigfillset(&all);
  signalsBlocked = pthread_sigmask(SIG_BLOCK, &all, nullptr) == 0;
}

BrokenPipeGuard::BrokenPipeGuard() {
  if (signalsBlocked) return;
  sigset_t pending;
  sigpending(&pending);
  // One that is pending is blocked already, and is the host's.
  if (sigismember(&pending, SIGPIPE) == 1) return;
  const sigset_t brokenPipe = OnlyBrokenPipe();
  active_ = pthread_sigmask(SIG_BLOCK, &brokenPipe, &saved_) == 0;
}

BrokenPipeGuard::~BrokenPipeGuard() {
  if (!active_) return;
  const int error = errno;
  const sigset_t brokenPipe = OnlyBrokenPipe();
  const timespec now = {};
  while (sigtimedwait(&brokenPipe, nullptr, &now) < 0 && errno == EINTR) {
  }
  pthread_sigmask(SIG_SETMASK, &saved_, nullptr);
  errno = error;
}

}  // namespace wkagent
