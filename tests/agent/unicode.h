#ifndef WKAGENT_TESTS_AGENT_UNICODE_H
#define WKAGENT_TESTS_AGENT_UNICODE_H

// UTF-8 as the C library's converter and libxml2's character tables see it.

#include <cerrno>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <iconv.h>
#include <libxml/chvalid.h>

namespace wkagent::test {

inline constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

// The bytes that UTF-8 has for a code, also for one that is no character (a surrogate).
inline std::string Utf8(char32_t code) {
  const auto last = [&](int shift) { return static_cast<char>(0x80U | (code >> shift & 0x3FU)); };
  if (code < 0x80) return {static_cast<char>(code)};
  if (code < 0x800) return {static_cast<char>(0xC0U | code >> 6), last(0)};
  if (code < 0x10000) return {static_cast<char>(0xE0U | code >> 12), last(6), last(0)};
  return {static_cast<char>(0xF0U | code >> 18), last(12), last(6), last(0)};
}

// The characters of a text; nothing where it is not UTF-8.
inline std::optional<std::u32string> DecodeUtf8(std::string_view text) {
  static const iconv_t converter = iconv_open("UTF-32LE", "UTF-8");
  if (converter == reinterpret_cast<iconv_t>(-1)) throw std::runtime_error("iconv_open");
  std::string input(text);
  std::u32string codes(text.size(), U'\0');
  char* from = input.data();
  std::size_t fromLeft = input.size();
  char* to = reinterpret_cast<char*>(codes.data());
  std::size_t toLeft = codes.size() * sizeof(char32_t);
  iconv(converter, nullptr, nullptr, nullptr, nullptr);
  if (iconv(converter, &from, &fromLeft, &to, &toLeft) == static_cast<std::size_t>(-1)) return {};
  codes.resize(codes.size() - toLeft / sizeof(char32_t));
  return codes;
}

// True when an XML 1.0 document may hold the text.
inline bool IsXmlText(std::string_view text) {
  const std::optional<std::u32string> codes = DecodeUtf8(text);
  if (!codes) return false;
  for (const char32_t code : *codes) {
    if (!xmlIsCharQ(code)) return false;
  }
  return true;
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_AGENT_UNICODE_H
