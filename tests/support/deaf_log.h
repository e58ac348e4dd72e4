#ifndef WKAGENT_TESTS_SUPPORT_DEAF_LOG_H
#define WKAGENT_TESTS_SUPPORT_DEAF_LOG_H

#include <cerrno>
#include <system_error>

#include <sys/socket.h>
#include <sys/un.h>

#include "core/handles.h"

namespace wkagent::test {

// A /dev/log from which nobody reads, as of a daemon that hangs: once its queue is full, whoever
// logs waits. In a private /dev only.
class DeafLog {
 public:
  DeafLog() : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_un address = {AF_UNIX, "/dev/log"};
    const auto* const any = reinterpret_cast<const sockaddr*>(&address);
    if (bind(socket_.Get(), any, sizeof(address)) != 0) {
      throw std::system_error(errno, std::generic_category(), "/dev/log");
    }
  }

 private:
  Fd socket_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_DEAF_LOG_H
