#ifndef WKAGENT_SYSLOG_TLS_CLIENT_H
#define WKAGENT_SYSLOG_TLS_CLIENT_H

#include <memory>

#include <openssl/ssl.h>

#include <wkagent/syslog.h>

namespace wkagent {

struct SslFreer {
  void operator()(SSL* session) const { SSL_free(session); }
};
using SslPtr = std::unique_ptr<SSL, SslFreer>;

// Starts a TLS session on a connected socket, with the name and the certificate checks that the
// settings ask for. Null, with the reason reported, where that fails.
//
// Over TLS 1.3 a server that asks for a certificate judges it after the client's handshake, and
// lines that were sent before it refuses are lost. With `patience`, in milliseconds, its answer is
// awaited: a ticket, or an alert. One that stays silent for so long is taken to be content.
[[nodiscard]] SslPtr StartTls(SSL_CTX* context, int socket, const SyslogConfig& config,
                              int patience);

// Tells the peer that the session ends, without waiting, and frees it.
void EndTls(SslPtr session, int socket);

// Reads what has arrived and throws it away, without waiting: session tickets, key updates, the
// peer's good-bye. True when the peer has ended the session.
bool DiscardTlsInput(SSL* session, int socket);

}  // namespace wkagent

#endif  // WKAGENT_SYSLOG_TLS_CLIENT_H
