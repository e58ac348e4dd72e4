#ifndef WKAGENT_AGENT_ASCII_CASE_H
#define WKAGENT_AGENT_ASCII_CASE_H

#include <string_view>

#include <strings.h>

namespace wkagent {

// True when the texts differ at most in the case of ASCII letters, as LDAP's keywords and attribute
// names may.
[[nodiscard]] inline bool SameIgnoringCase(std::string_view left, std::string_view right) {
  return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

}  // namespace wkagent

#endif  // WKAGENT_AGENT_ASCII_CASE_H
