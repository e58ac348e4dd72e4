#include "syslog/blocking_calls.h"

#include <algorithm>

#include <sys/socket.h>

namespace wkagent {

BlockingCalls::Scope::Scope(BlockingCalls& calls, int socket) : calls_(calls), socket_(socket) {
  const MutexLock lock(calls_.mutex_);
  calls_.sockets_.push_back(socket_);
  if (calls_.brokenOff_) ::shutdown(socket_, SHUT_RDWR);
}

BlockingCalls::Scope::~Scope() {
  const MutexLock lock(calls_.mutex_);
  calls_.sockets_.erase(std::find(calls_.sockets_.begin(), calls_.sockets_.end(), socket_));
}

void BlockingCalls::BreakOff() {
  const MutexLock lock(mutex_);
  brokenOff_ = true;
  // This also ends a connect that waits for an answer.
  for (const int socket : sockets_) ::shutdown(socket, SHUT_RDWR);
}

bool BlockingCalls::BrokenOff() const {
  const MutexLock lock(mutex_);
  return brokenOff_;
}

}  // namespace wkagent
