#include "agent/check/value_place.h"

namespace wkagent {
namespace {

constexpr std::size_t kLongestQuote = 64;
constexpr std::string_view kBlanks = " \t\r\n";

// As XML has it in a value, without control characters. U+0080 to U+009F are such, too.
std::string Escaped(std::string_view text) {
  std::string escaped;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0U;
    if (byte == '&') {
      escaped += "&amp;";
    } else if (byte == '<') {
      escaped += "&lt;";
    } else if (byte == '"') {
      escaped += "&quot;";
    } else if (byte < 0x20 || byte == 0x7F) {
      escaped += ' ';
    } else if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {
      escaped += ' ';
      ++i;
    } else {
      escaped += text[i];
    }
  }
  return escaped;
}

// Cut at the boundary of a character.
std::string Shortened(std::string_view text) {
  if (text.size() <= kLongestQuote) return Escaped(text);
  std::size_t end = kLongestQuote;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return Escaped(text.substr(0, end)) + "...";
}

std::string InElement(std::string_view element, const std::string& content) {
  std::string text("<");
  return text.append(element).append(">").append(content).append("</").append(element).append(">");
}

std::string InAttribute(std::string_view attribute, const std::string& value) {
  std::string text(attribute);
  return text.append("=\"").append(value).append("\"");
}

}  // namespace

std::string Quote(const ValuePlace& place, std::string_view value) {
  if (place.attribute.empty()) return InElement(place.element, Shortened(value));
  return std::string(place.element) + " " + InAttribute(place.attribute, Shortened(value));
}

std::string Write(const ValuePlace& place, std::string_view value) {
  if (place.attribute.empty()) return InElement(place.element, Escaped(value));
  return InAttribute(place.attribute, Escaped(value));
}

std::string Quote(std::string_view text) {
  std::string quoted("\"");
  return quoted.append(Shortened(text)).append("\"");
}

std::string_view WithoutBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace wkagent
