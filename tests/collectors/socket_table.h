#ifndef WKAGENT_TESTS_COLLECTORS_SOCKET_TABLE_H
#define WKAGENT_TESTS_COLLECTORS_SOCKET_TABLE_H

#include <cstdint>
#include <optional>

namespace wkagent::test {

// A socket as the kernel lists it in /proc/net/tcp or /proc/net/udp.
struct SocketState {
  std::uint64_t unsent = 0;   // bytes in the send queue
  std::uint64_t unread = 0;   // bytes in the receive queue
  std::uint64_t dropped = 0;  // datagrams for which there was no room
};

// The socket that listens on a TCP port.
[[nodiscard]] std::optional<SocketState> FindListener(int port);

// The socket that is bound to a UDP port.
[[nodiscard]] std::optional<SocketState> FindUdpSocket(int port);

// An established TCP connection to a port, seen from the client.
[[nodiscard]] std::optional<SocketState> FindConnectionTo(int port);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_COLLECTORS_SOCKET_TABLE_H
