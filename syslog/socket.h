#ifndef WKAGENT_SYSLOG_SOCKET_H
#define WKAGENT_SYSLOG_SOCKET_H

#include <chrono>
#include <cstdint>
#include <string>

#include <netinet/in.h>

namespace wkagent {

// True for a numeric IPv4 or IPv6 address.
[[nodiscard]] bool IsAddress(const std::string& host);

// The collector's address. False where the host is no IPv4 address; no name is looked up.
[[nodiscard]] bool ToAddress(const std::string& host, std::int32_t port, sockaddr_in& address);

// Lets the system find out that a peer has gone: after 60 idle seconds it probes every 10, 5 times.
void KeepAlive(int socket);

// Lets every blocking call on the socket fail that makes no progress for so long.
void LimitWaits(int socket, int seconds);

// The same limit, as it was set; zero where there is none.
[[nodiscard]] std::chrono::milliseconds WaitLimit(int socket);

enum class Peer {
  kSilent,  // open, and has sent nothing
  kSpeaks,  // open, and there is something to read
  kClosed,
};

// What the peer is doing. Waits at most so long for it to do something.
[[nodiscard]] Peer LookAtPeer(int socket, int milliseconds = 0);

// Reads what has arrived and throws it away: a collector has nothing to say, and closing a socket
// with unread input would reset the connection and lose what is still on its way. Waits at most so
// long for the peer to close. True when the peer has closed.
bool DiscardInput(int socket, int milliseconds);

void SetBlocking(int socket, bool blocking);

}  // namespace wkagent

#endif  // WKAGENT_SYSLOG_SOCKET_H
