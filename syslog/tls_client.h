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
[[nodiscard]] SslPtr StartTls(SSL_CTX* context, int socket, const SyslogConfig& config);

// With TLS 1.3 the client's handshake ends before the server has looked at the client's
// certificate, and what is written meanwhile is lost where the server refuses it. Waits at most so
// long for the server's first word, as a rule its session tickets. False, with the reason reported,
// where the server has ended the session.
[[nodiscard]] bool IsAccepted(SSL* session, int socket, int milliseconds);

// Tells the peer that the session ends, without waiting, and frees it.
void EndTls(SslPtr session, int socket);

// Reads what has arrived and throws it away, without waiting: session tickets, key updates, the
// peer's good-bye. True when the peer has ended the session.
bool DiscardTlsInput(SSL* session, int socket);

}  // namespace wkagent

#endif  // WKAGENT_SYSLOG_TLS_CLIENT_H
