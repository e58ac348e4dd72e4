#ifndef WKAGENT_TESTS_SUPPORT_FREE_PORT_H
#define WKAGENT_TESTS_SUPPORT_FREE_PORT_H

#include <cerrno>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "core/handles.h"

namespace wkagent::test {

// Gives a socket a loopback address with a port of the kernel's choice: the port.
inline int BindToLoopback(const Fd& socket) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  if (bind(socket.Get(), any, size) != 0 || getsockname(socket.Get(), any, &size) != 0) {
    throw std::system_error(errno, std::generic_category(), "a port on loopback");
  }
  return ntohs(address.sin_port);
}

// A port that nobody had a moment ago; `type` is SOCK_STREAM or SOCK_DGRAM.
inline int FreePort(int type = SOCK_STREAM) {
  return BindToLoopback(Fd(socket(AF_INET, type | SOCK_CLOEXEC, 0)));
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_FREE_PORT_H
