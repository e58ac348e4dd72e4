#ifndef WKAGENT_AGENT_FIELD_TEXT_H
#define WKAGENT_AGENT_FIELD_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace wkagent {

// Copies `text` into `field`, which holds `size` bytes with the terminator: cut after the last
// whole character that fits, and with U+FFFD for every character that XML 1.0 forbids and every
// byte that is not UTF-8.
void CopyField(std::string_view text, char* field, std::size_t size);

template <std::size_t kSize>
void SetField(char (&field)[kSize], std::string_view text) {
  CopyField(text, field, kSize);
}

// True when the bytes are no text: not UTF-8, or with a zero byte.
[[nodiscard]] bool IsBinary(std::string_view bytes);

// RFC 4648 base64 of the first bytes, as much as `longest` characters hold.
[[nodiscard]] std::string EncodeBase64(std::string_view bytes, std::size_t longest);

// Decodes RFC 4648 base64 in place and sets `size` to the number of bytes; false where the text is
// no base64, whose content is then undefined.
[[nodiscard]] bool DecodeBase64(char* text, std::size_t& size);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_FIELD_TEXT_H
