#include "agent/handshake_limit.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <memory>
#include <utility>

#include <poll.h>

namespace wkagent {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kLevel = LBER_SBIOD_LEVEL_PROVIDER + 5;  // above the socket, below TLS

int SetUp(Sockbuf_IO_Desc* layer, void* /*argument*/) {
  layer->sbiod_pvt = new Clock::time_point(Clock::now() + std::chrono::seconds(kSecondsToAnswer));
  return 0;
}

int Remove(Sockbuf_IO_Desc* layer) {
  const std::unique_ptr<Clock::time_point> owned(
      static_cast<Clock::time_point*>(std::exchange(layer->sbiod_pvt, nullptr)));
  return 0;
}

// True once the server's bytes can be read; false, with errno set, at the deadline.
bool WaitForBytes(Sockbuf_IO_Desc* layer) {
  const auto left = *static_cast<Clock::time_point*>(layer->sbiod_pvt) - Clock::now();
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(left).count();
  pollfd socket = {-1, POLLIN, 0};
  ber_sockbuf_ctrl(layer->sbiod_sb, LBER_SB_OPT_GET_FD, &socket.fd);
  if (poll(&socket, 1, std::max(static_cast<int>(milliseconds), 0)) > 0) return true;
  errno = ETIMEDOUT;
  return false;
}

ber_slen_t Read(Sockbuf_IO_Desc* layer, void* bytes, ber_len_t size) {
  for (;;) {
    const ber_slen_t count = LBER_SBIOD_READ_NEXT(layer, bytes, size);
    const bool empty = count < 0 && (errno == EAGAIN || errno == EINTR);
    if (!empty || !WaitForBytes(layer)) return count;
  }
}

ber_slen_t Write(Sockbuf_IO_Desc* layer, void* bytes, ber_len_t size) {
  return LBER_SBIOD_WRITE_NEXT(layer, bytes, size);
}

int Control(Sockbuf_IO_Desc* layer, int option, void* argument) {
  return LBER_SBIOD_CTRL_NEXT(layer, option, argument);
}

Sockbuf_IO limit = {SetUp, Remove, Control, Read, Write, nullptr};

int OnConnected(LDAP* /*ldap*/, Sockbuf* buffer, LDAPURLDesc* /*server*/, sockaddr* /*address*/,
                ldap_conncb* /*callbacks*/) {
  ber_len_t longest = kLongestAnswer;
  if (ber_sockbuf_ctrl(buffer, LBER_SB_OPT_SET_MAX_INCOMING, &longest) != 1) return -1;
  return ber_sockbuf_add_io(buffer, &limit, kLevel, nullptr);
}

void OnDisconnect(LDAP* /*ldap*/, Sockbuf* /*buffer*/, ldap_conncb* /*callbacks*/) {}

ldap_conncb callbacks = {OnConnected, OnDisconnect, nullptr};

}  // namespace

bool LimitHandshake(LDAP* ldap) {
  return ldap_set_option(ldap, LDAP_OPT_CONNECT_CB, &callbacks) == LDAP_OPT_SUCCESS;
}

void LiftHandshakeLimit(LDAP* ldap) {
  Sockbuf* buffer = nullptr;
  if (ldap_get_option(ldap, LDAP_OPT_SOCKBUF, &buffer) == LDAP_OPT_SUCCESS && buffer != nullptr) {
    ber_sockbuf_remove_io(buffer, &limit, kLevel);
    ber_sockbuf_ctrl(buffer, LBER_SB_OPT_SET_NONBLOCK, buffer);  // anything but null means yes
  }
}

}  // namespace wkagent
