#ifndef WKAGENT_TESTS_SUPPORT_SILENT_NAME_SERVER_H
#define WKAGENT_TESTS_SUPPORT_SILENT_NAME_SERVER_H

#include <cerrno>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include "core/handles.h"

namespace wkagent::test {

// A name server on loopback that takes questions and never answers. In a private network only.
class SilentNameServer {
 public:
  SilentNameServer() : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(53);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const auto* const any = reinterpret_cast<const sockaddr*>(&address);
    if (bind(socket_.Get(), any, sizeof(address)) != 0) {
      throw std::system_error(errno, std::generic_category(), "port 53");
    }
  }

  [[nodiscard]] bool WasAsked() const {
    pollfd question = {socket_.Get(), POLLIN, 0};
    return poll(&question, 1, 0) > 0;
  }

 private:
  Fd socket_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_SILENT_NAME_SERVER_H
