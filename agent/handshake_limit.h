#ifndef WKAGENT_AGENT_HANDSHAKE_LIMIT_H
#define WKAGENT_AGENT_HANDSHAKE_LIMIT_H

#include <ldap.h>

namespace wkagent {

// How long a server may take for each of its answers while a connection is made.
inline constexpr int kSecondsToAnswer = 10;

// How many bytes one message of a server may have: far more than servers take from their clients.
inline constexpr unsigned long kLongestAnswer = 64UL << 20;

// Ends the TLS handshake of a server that does not answer, which libldap's own time-outs leave out:
// with GnuTLS it tries to read for ever. A layer below TLS waits for the server's bytes instead,
// and fails kSecondsToAnswer after the connection was made. An answer that claims to be longer than
// kLongestAnswer ends the connection, at any time. False where that cannot be set.
[[nodiscard]] bool LimitHandshake(LDAP* ldap);

// The connection has been made: the server may take its time from now on, but reading never waits
// for it amid an answer, as it otherwise would for ever without TLS.
void LiftHandshakeLimit(LDAP* ldap);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_HANDSHAKE_LIMIT_H
