#ifndef WKAGENT_AGENT_INTERRUPTIBLE_THREAD_H
#define WKAGENT_AGENT_INTERRUPTIBLE_THREAD_H

#include <condition_variable>
#include <functional>
#include <string>
#include <thread>

#include <wkagent/mutex.h>

namespace wkagent {

// A thread that may be blocked in a system call of a library when it is to end. Its end interrupts
// such calls with a signal: they fail with EINTR. That is repeated until the body has returned, as
// the signal may come just before a call, or the library may call again; so the body must look at a
// flag of its own that tells it to return. A call that is not interrupted, as the C library's look
// for a host name, is waited for.
class InterruptibleThread {
 public:
  // `name` has 15 characters at most.
  InterruptibleThread(std::string name, std::function<void()> body);

  // Ends as described.
  ~InterruptibleThread();

  InterruptibleThread(const InterruptibleThread&) = delete;
  InterruptibleThread& operator=(const InterruptibleThread&) = delete;

 private:
  void Run();
  [[nodiscard]] bool WaitForEnd();

  const std::string name_;
  const std::function<void()> body_;
  Mutex mutex_;
  std::condition_variable ended_;
  bool hasEnded_ WKAGENT_GUARDED_BY(mutex_) = false;
  std::thread thread_;  // the last member: it uses the others
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_INTERRUPTIBLE_THREAD_H
