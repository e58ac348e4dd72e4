#include "syslog/socket.h"

#include <array>
#include <cerrno>
#include <chrono>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace wkagent {
namespace {

constexpr int kKeepAliveProbes = 5;
constexpr int kKeepAliveIdle = 60;
constexpr int kKeepAliveInterval = 10;
constexpr int kMostReads = 64;  // a peer that never stops talking is not listened to for ever

void SetOption(int socket, int level, int option, int value) {
  ::setsockopt(socket, level, option, &value, sizeof(value));
}

short EventsOf(int socket, int milliseconds) {
  pollfd events = {socket, POLLIN | POLLRDHUP, 0};
  return ::poll(&events, 1, milliseconds) > 0 ? events.revents : static_cast<short>(0);
}

}  // namespace

bool IsAddress(const std::string& host) {
  in6_addr address{};
  return ::inet_pton(AF_INET, host.c_str(), &address) == 1 ||
         ::inet_pton(AF_INET6, host.c_str(), &address) == 1;
}

bool ToAddress(const std::string& host, std::int32_t port, sockaddr_in& address) {
  address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  return ::inet_pton(AF_INET, host.c_str(), &address.sin_addr) == 1;
}

void KeepAlive(int socket) {
  SetOption(socket, SOL_SOCKET, SO_KEEPALIVE, 1);
  SetOption(socket, IPPROTO_TCP, TCP_KEEPCNT, kKeepAliveProbes);
  SetOption(socket, IPPROTO_TCP, TCP_KEEPIDLE, kKeepAliveIdle);
  SetOption(socket, IPPROTO_TCP, TCP_KEEPINTVL, kKeepAliveInterval);
}

void LimitWaits(int socket, int seconds) {
  const timeval limit = {seconds, 0};
  ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
  ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
}

std::chrono::milliseconds WaitLimit(int socket) {
  timeval limit{};
  socklen_t size = sizeof(limit);
  if (::getsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, &size) != 0) limit = {};
  return std::chrono::seconds(limit.tv_sec) + std::chrono::milliseconds(limit.tv_usec / 1000);
}

Peer LookAtPeer(int socket, int milliseconds) {
  const short events = EventsOf(socket, milliseconds);
  if ((events & (POLLRDHUP | POLLHUP | POLLERR)) != 0) return Peer::kClosed;
  return (events & POLLIN) != 0 ? Peer::kSpeaks : Peer::kSilent;
}

bool DiscardInput(int socket, int milliseconds) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
  std::array<char, 4096> buffer{};
  for (int reads = 0; reads < kMostReads; ++reads) {
    const ssize_t length = ::recv(socket, buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (length > 0) continue;
    if (length == 0) return true;
    if (errno != EAGAIN) return errno == ECONNRESET;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0 || EventsOf(socket, static_cast<int>(left.count())) == 0) return false;
  }
  return false;
}

void SetBlocking(int socket, bool blocking) {
  const int flags = ::fcntl(socket, F_GETFL);
  if (flags < 0) return;
  ::fcntl(socket, F_SETFL, blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK);
}

}  // namespace wkagent
