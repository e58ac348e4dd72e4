// Sockets, TLS, and threads.

#include <cerrno>
#include <cstddef>
#include <utility>

#include "faults/failing_call.h"

using wkagent::faults::Call;
using wkagent::faults::NextFunction;
using wkagent::faults::Turn;

WKAGENT_FALLIBLE(int, socket, (int family, int type, int protocol), kSocket, {}, -1, family, type,
                 protocol)
WKAGENT_FALLIBLE(int, connect, (int socket, const void* address, unsigned length), kConnect, {}, -1,
                 socket, address, length)
WKAGENT_PARTIAL(send, (int socket, const void* data, std::size_t size, int flags), kSend, {},
                socket, data, size, flags)
WKAGENT_PARTIAL(sendto,
                (int socket, const void* data, std::size_t size, int flags, const void* address,
                 unsigned length),
                kSend, {}, socket, data, size, flags, address, length)
WKAGENT_FALLIBLE(long, sendmsg, (int socket, const void* message, int flags), kSend, {}, -1, socket,
                 message, flags)
WKAGENT_PARTIAL(recv, (int socket, void* data, std::size_t size, int flags), kRecv, {}, socket,
                data, size, flags)
WKAGENT_PARTIAL(__recv_chk, (int socket, void* data, std::size_t size, std::size_t room, int flags),
                kRecv, {}, socket, data, size, room, flags)

WKAGENT_FALLIBLE(void*, SSL_CTX_new, (const void* method), kTls, {}, nullptr, method)
WKAGENT_FALLIBLE(void*, SSL_new, (void* context), kTls, {}, nullptr, context)

namespace {

thread_local bool tlsFailed = false;

int FailTls() {
  tlsFailed = true;
  return -1;
}

wkagent::faults::NextFunction<int(const void* tls, int result)> next_SSL_get_error("SSL_get_error");

}  // namespace

WKAGENT_FALLIBLE(int, SSL_connect, (void* tls), kTls, {}, FailTls(), tls)
WKAGENT_FALLIBLE(int, SSL_read, (void* tls, void* data, int size), kTls, {}, FailTls(), tls, data,
                 size)
WKAGENT_FALLIBLE(int, SSL_write, (void* tls, const void* data, int size), kTls, {}, FailTls(), tls,
                 data, size)

// Of a call that never came to the library, that would tell what the one before it wanted.
WKAGENT_REPLACED(int, SSL_get_error, (const void* tls, int result)) {
  constexpr int kSystemCall = 5;  // SSL_ERROR_SYSCALL
  if (std::exchange(tlsFailed, false)) return kSystemCall;
  return next_SSL_get_error(tls, result);
}

// Its result is the error.
WKAGENT_FALLIBLE(int, pthread_create,
                 (unsigned long* thread, const void* attributes, void* (*body)(void*), void* data),
                 kThread, {}, errno, thread, attributes, body, data)
