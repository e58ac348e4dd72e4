#ifndef WKAGENT_AGENT_DISTINGUISHED_NAME_H
#define WKAGENT_AGENT_DISTINGUISHED_NAME_H

#include <string>
#include <string_view>

namespace wkagent {

// LDAP names (RFC 4514).

// The dotted form of a name: the values from left to right, unescaped, joined by "." (and by "+"
// within one RDN): "cn=Smith\, John,ou=sales,o=acme" becomes "Smith, John.sales.acme".
[[nodiscard]] std::string DottedName(std::string_view name);

// The name without its first RDN; empty where it has one RDN only.
[[nodiscard]] std::string_view ParentName(std::string_view name);

// True when both names have the same types and values, whatever their case and escapes.
[[nodiscard]] bool SameName(std::string_view left, std::string_view right);

// True when `name` is `ancestor` or lies below it.
[[nodiscard]] bool IsAtOrBelow(std::string_view name, std::string_view ancestor);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_DISTINGUISHED_NAME_H
