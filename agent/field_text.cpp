#include "agent/field_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "core/utf8.h"

namespace wkagent {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD
constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> MakeDigitValues() {
  std::array<std::int8_t, 256> values{};
  values.fill(-1);
  for (std::int8_t i = 0; i < 64; ++i) {
    values[static_cast<unsigned char>(kDigits[static_cast<std::size_t>(i)])] = i;
  }
  return values;
}

constexpr std::array<std::int8_t, 256> kDigitValues = MakeDigitValues();

// True when all eight bytes are printable ASCII.
bool AllPlain(std::uint64_t bytes) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kHighBits = 0x80 * kOnes;
  return ((bytes | (bytes - 0x20 * kOnes)) & kHighBits) == 0;
}

// How many characters at the front are printable ASCII, which goes as it is: most texts are nothing
// else, so they are looked at by the word.
std::size_t PlainSize(std::string_view text) {
  std::size_t size = 0;
  std::uint64_t word = 0;
  for (; text.size() - size >= sizeof(word); size += sizeof(word)) {
    std::memcpy(&word, text.data() + size, sizeof(word));
    if (!AllPlain(word)) break;
  }
  while (size < text.size() && static_cast<signed char>(text[size]) >= 0x20) ++size;
  return size;
}

}  // namespace

void CopyField(std::string_view text, char* field, std::size_t size) {
  std::size_t used = 0;
  for (;;) {
    const std::size_t plain = PlainSize(text.substr(0, size - 1 - used));
    used += text.copy(field + used, plain);
    text.remove_prefix(plain);
    if (text.empty()) break;
    const Utf8Character character = FirstCharacter(text);
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
  for (;;) {
    bytes.remove_prefix(PlainSize(bytes));
    if (bytes.empty()) return false;
    const Utf8Character character = FirstCharacter(bytes);
    if (character.length == 0 || character.code == 0) return true;
    bytes.remove_prefix(character.length);
  }
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
  const auto digit = [text](std::size_t i) -> std::int32_t {
    return kDigitValues[static_cast<unsigned char>(text[i])];
  };
  std::size_t used = 0;
  std::size_t i = 0;
  for (; length - i >= 4; i += 4) {
    const std::int32_t group =
        digit(i) << 18 | digit(i + 1) << 12 | digit(i + 2) << 6 | digit(i + 3);
    if (group < 0) return false;
    text[used++] = static_cast<char>(group >> 16);
    text[used++] = static_cast<char>(group >> 8 & 0xFF);
    text[used++] = static_cast<char>(group & 0xFF);
  }
  std::uint32_t bits = 0;
  unsigned count = 0;
  for (; i < length; ++i) {
    const std::int32_t value = digit(i);
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
