#include "agent/field_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace wkagent {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD
constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The length of the UTF-8 character at the front of `text` and its code point; a length of 0 where
// there is none.
struct Character {
  std::size_t length;
  char32_t code;
};

Character FirstCharacter(std::string_view text) {
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

bool AllowedInXml(char32_t code) {
  if (code < 0x20) return code == '\t' || code == '\n' || code == '\r';
  return code != 0xFFFE && code != 0xFFFF;
}

constexpr std::array<std::int8_t, 256> MakeDigitValues() {
  std::array<std::int8_t, 256> values{};
  values.fill(-1);
  for (std::int8_t i = 0; i < 64; ++i) {
    values[static_cast<unsigned char>(kDigits[static_cast<std::size_t>(i)])] = i;
  }
  return values;
}

constexpr std::array<std::int8_t, 256> kDigitValues = MakeDigitValues();

}  // namespace

void CopyField(std::string_view text, char* field, std::size_t size) {
  std::size_t used = 0;
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    const bool usable = character.length > 0 && AllowedInXml(character.code);
    const std::size_t consumed = character.length > 0 ? character.length : 1;
    const std::string_view piece = usable ? text.substr(0, consumed) : kReplacement;
    if (used + piece.size() >= size) break;
    std::memcpy(field + used, piece.data(), piece.size());
    used += piece.size();
    text.remove_prefix(consumed);
  }
  field[used] = '\0';
}

bool IsBinary(std::string_view bytes) {
  while (!bytes.empty()) {
    const Character character = FirstCharacter(bytes);
    if (character.length == 0 || character.code == 0) return true;
    bytes.remove_prefix(character.length);
  }
  return false;
}

std::string EncodeBase64(std::string_view bytes, std::size_t longest) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size() && text.size() < longest; i += 3) {
    std::uint32_t group = 0;
    for (std::size_t j = i; j < i + 3; ++j) {
      group = group << 8 | (j < bytes.size() ? static_cast<unsigned char>(bytes[j]) : 0U);
    }
    const std::size_t digits = std::min<std::size_t>(bytes.size() - i, 3) + 1;
    for (std::size_t digit = 0; digit < 4; ++digit) {
      text += digit < digits ? kDigits[group >> (18 - 6 * digit) & 63U] : '=';
    }
  }
  if (text.size() > longest) text.resize(longest);
  return text;
}

bool DecodeBase64(char* text, std::size_t& size) {
  if (size % 4 != 0) return false;
  std::size_t length = size;
  while (length > 0 && size - length < 2 && text[length - 1] == '=') --length;
  std::uint32_t bits = 0;
  unsigned count = 0;
  std::size_t used = 0;
  for (std::size_t i = 0; i < length; ++i) {
    const std::int8_t value = kDigitValues[static_cast<unsigned char>(text[i])];
    if (value < 0) return false;
    bits = bits << 6 | static_cast<std::uint32_t>(value);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    text[used++] = static_cast<char>(bits >> count & 0xFFU);
  }
  size = used;
  return true;
}

}  // namespace wkagent
