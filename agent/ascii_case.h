#ifndef WKAGENT_AGENT_ASCII_CASE_H
#define WKAGENT_AGENT_ASCII_CASE_H

#include <string_view>

#include <strings.h>

namespace wkagent {

// True when the texts differ at most in the case of ASCII letters, as LDAP's keywords and attribute
// names may.
[[nodiscard]] inline bool SameIgnoringCase(std::string_view left, std::string_view right) {
  if (left.size() != right.size()) return false;
  if (left.empty()) return true;
  // Letters differ from their other case in one bit. Most texts differ in the first letter already.
  constexpr int kCaseBit = 0x20;
  if (((left.front() ^ right.front()) & ~kCaseBit) != 0) return false;
  return strncasecmp(left.data(), right.data(), left.size()) == 0;
}

}  // namespace wkagent

#endif  // WKAGENT_AGENT_ASCII_CASE_H
