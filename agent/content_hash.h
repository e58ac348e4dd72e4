#ifndef WKAGENT_AGENT_CONTENT_HASH_H
#define WKAGENT_AGENT_CONTENT_HASH_H

#include <cstdint>
#include <string_view>

namespace wkagent {

// FNV-1a of 64 bits: tells contents apart, not against somebody who wants them mistaken.
[[nodiscard]] constexpr std::uint64_t ContentHash(std::string_view content) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char c : content) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  }
  return hash;
}

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CONTENT_HASH_H
