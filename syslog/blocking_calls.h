#ifndef WKAGENT_SYSLOG_BLOCKING_CALLS_H
#define WKAGENT_SYSLOG_BLOCKING_CALLS_H

#include <vector>

#include <wkagent/mutex.h>

namespace wkagent {

// The sockets on which threads of one sender may be blocked in connect, handshake or write, so that
// a stop can break the calls off. Any thread may use it.
class BlockingCalls {
 public:
  // Registers a socket for as long as it exists, which must be less long than the socket is open.
  class Scope {
   public:
    Scope(BlockingCalls& calls, int socket);
    ~Scope();

    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    BlockingCalls& calls_;
    const int socket_;
  };

  // Ends all calls under way and those to come: each fails as if the peer had closed.
  void BreakOff();

  // True once BreakOff was called.
  [[nodiscard]] bool BrokenOff() const;

 private:
  mutable Mutex mutex_;
  std::vector<int> sockets_ WKAGENT_GUARDED_BY(mutex_);
  bool brokenOff_ WKAGENT_GUARDED_BY(mutex_) = false;
};

}  // namespace wkagent

#endif  // WKAGENT_SYSLOG_BLOCKING_CALLS_H
