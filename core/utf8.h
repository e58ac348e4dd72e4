#ifndef WKAGENT_CORE_UTF8_H
#define WKAGENT_CORE_UTF8_H

#include <cstddef>
#include <string_view>

namespace wkagent {

struct Utf8Character {
  std::size_t length;
  char32_t code;
};

// The length of the UTF-8 character (RFC 3629) at the front of a text that is not empty, and its
// code point; a length of 0 where there is none.
[[nodiscard]] inline Utf8Character FirstCharacter(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return {1, lead};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {0, 0};
  char32_t code = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return {0, 0};
    code = code << 6 | (byte(i) & 0x3FU);
  }
  constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < kSmallest[length] || code > 0x10FFFF || surrogate) return {0, 0};
  return {length, code};
}

[[nodiscard]] inline bool AllowedInXml(char32_t code) {
  if (code < 0x20) return code == '\t' || code == '\n' || code == '\r';
  return code != 0xFFFE && code != 0xFFFF;
}

}  // namespace wkagent

#endif  // WKAGENT_CORE_UTF8_H
