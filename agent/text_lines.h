#ifndef WKAGENT_AGENT_TEXT_LINES_H
#define WKAGENT_AGENT_TEXT_LINES_H

#include <charconv>
#include <string_view>

namespace wkagent {

// Takes the part up to `separator` off the front; false where there is none.
[[nodiscard]] inline bool TakePart(std::string_view& text, char separator, std::string_view& part) {
  const std::size_t end = text.find(separator);
  if (end == std::string_view::npos) return false;
  part = text.substr(0, end);
  text.remove_prefix(end + 1);
  return true;
}

// Takes `word` off the front, or else leaves the text as it is.
[[nodiscard]] inline bool TakeWord(std::string_view& text, std::string_view word) {
  if (!text.starts_with(word)) return false;
  text.remove_prefix(word.size());
  return true;
}

// Takes a decimal number that is not negative off the front, and the separator behind it.
template <typename Number>
[[nodiscard]] bool TakeNumber(std::string_view& text, char separator, Number& number) {
  std::string_view digits;
  if (!TakePart(text, separator, digits)) return false;
  const char* const end = digits.data() + digits.size();
  const std::from_chars_result result = std::from_chars(digits.data(), end, number);
  return result.ec == std::errc() && result.ptr == end && number >= 0;
}

}  // namespace wkagent

#endif  // WKAGENT_AGENT_TEXT_LINES_H
