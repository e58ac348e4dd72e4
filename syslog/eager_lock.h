#ifndef WKAGENT_SYSLOG_EAGER_LOCK_H
#define WKAGENT_SYSLOG_EAGER_LOCK_H

#include <mutex>

#include <wkagent/mutex.h>

#include "core/lock_eagerly.h"

namespace wkagent {

// Holds a Mutex for a scope, as MutexLock does, but tries for about a microsecond before it sleeps.
// For one that is never held for longer than that: to sleep and be woken costs more on both sides.
class WKAGENT_THREAD_ANNOTATION(scoped_lockable) EagerLock {
 public:
  explicit EagerLock(Mutex& mutex) WKAGENT_THREAD_ANNOTATION(acquire_capability(mutex))
      : lock_(Acquire(mutex), std::adopt_lock) {}
  ~EagerLock() WKAGENT_THREAD_ANNOTATION(release_capability()) = default;

  EagerLock(const EagerLock&) = delete;
  EagerLock& operator=(const EagerLock&) = delete;

  // For waiting on a condition variable.
  std::unique_lock<std::mutex>& Native() { return lock_; }

 private:
  static constexpr int kTries = 40;

  static std::mutex& Acquire(std::mutex& mutex) {
    LockEagerly(*mutex.native_handle(), kTries, 1);
    return mutex;
  }

  std::unique_lock<std::mutex> lock_;
};

}  // namespace wkagent

#endif  // WKAGENT_SYSLOG_EAGER_LOCK_H
