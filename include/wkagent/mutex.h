#ifndef WKAGENT_MUTEX_H
#define WKAGENT_MUTEX_H

// Locks whose rules the compiler checks.
//
// A member that a lock guards is declared with WKAGENT_GUARDED_BY(lock), a function that needs the
// lock with WKAGENT_REQUIRES(lock). clang's -Wthread-safety then refuses every access without it;
// other compilers see plain declarations. Mutex is a std::mutex that the analysis knows, so it
// works with std::condition_variable; MutexLock holds one for a scope.
//
//   struct Counter {
//     wkagent::Mutex mutex;
//     int count WKAGENT_GUARDED_BY(mutex) = 0;
//   } counter;
//   const wkagent::MutexLock lock(counter.mutex);
//   printf("%d\n", ++counter.count);

#include <mutex>

#if defined(__clang__)
#define WKAGENT_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define WKAGENT_THREAD_ANNOTATION(x)
#endif

#define WKAGENT_GUARDED_BY(lock) WKAGENT_THREAD_ANNOTATION(guarded_by(lock))
#define WKAGENT_REQUIRES(lock) WKAGENT_THREAD_ANNOTATION(requires_capability(lock))

namespace wkagent {

// A std::mutex with annotations. Any thread may use it.
class WKAGENT_THREAD_ANNOTATION(capability("mutex")) Mutex : public std::mutex {
 public:
  void lock() WKAGENT_THREAD_ANNOTATION(acquire_capability()) { std::mutex::lock(); }
  void unlock() WKAGENT_THREAD_ANNOTATION(release_capability()) { std::mutex::unlock(); }

  // Tells the analysis that this thread holds the lock, where it cannot see it.
  void AssertHeld() WKAGENT_THREAD_ANNOTATION(assert_capability(this)) {}
};

// Holds a Mutex from its construction to its end. Native() is for waiting on a condition variable;
// the lock is held again when the wait returns.
class WKAGENT_THREAD_ANNOTATION(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) WKAGENT_THREAD_ANNOTATION(acquire_capability(mutex))
      : lock_(mutex) {}
  ~MutexLock() WKAGENT_THREAD_ANNOTATION(release_capability()) = default;

  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  std::unique_lock<std::mutex>& Native() { return lock_; }

 private:
  std::unique_lock<std::mutex> lock_;
};

}  // namespace wkagent

#endif  // WKAGENT_MUTEX_H
