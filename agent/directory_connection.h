#ifndef WKAGENT_AGENT_DIRECTORY_CONNECTION_H
#define WKAGENT_AGENT_DIRECTORY_CONNECTION_H

#include <string>

#include <wkagent/config.h>

#include "agent/ldap_handles.h"

namespace wkagent {

// Connects to the directory server of the settings and binds as their user. Port 636 means LDAPS;
// any other port STARTTLS (RFC 4511) when the server offers it. A server's certificate must be
// valid for its name, by the certificates in `caFile`, or by the system's where that is empty.
// Waits at most ten seconds for each answer.
//
// Returns the connection; or none, and `error` says why. `encrypted` tells whether it is.
[[nodiscard]] LdapPtr ConnectDirectory(const tagLDAPConfig& config, const std::string& caFile,
                                       bool& encrypted, std::string& error);

// "HOST:PORT" of the settings.
[[nodiscard]] std::string ServerName(const tagLDAPConfig& config);

// Leaves no password in the memory of settings that are done with.
void WipePassword(tagLDAPConfig& config);

// What the server or the library says about the last failure on a connection.
[[nodiscard]] std::string DescribeLdapError(LDAP* ldap, int code);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_DIRECTORY_CONNECTION_H
