#ifndef WKAGENT_CORE_BOUNDED_COPY_H
#define WKAGENT_CORE_BOUNDED_COPY_H

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace wkagent {

// Copies `text` into a fixed buffer, cut to fit, and terminates it. Null gives an empty text.
template <std::size_t kSize>
void CopyBounded(char (&buffer)[kSize], const char* text) {
  const std::size_t length = text == nullptr ? 0 : strnlen(text, kSize - 1);
  if (length > 0) std::memmove(buffer, text, length);
  buffer[length] = '\0';
}

// Formats into a fixed buffer, cut to fit.
template <std::size_t kSize>
[[gnu::format(printf, 2, 3)]] void FormatBounded(char (&buffer)[kSize], const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(buffer, kSize, format, arguments);
  va_end(arguments);
}

// The characters of a fixed buffer up to its terminator, or all of them where there is none.
template <std::size_t kSize>
std::string_view BoundedView(const char (&buffer)[kSize]) {
  return {buffer, strnlen(buffer, kSize)};
}

// Copies a fixed field that may lack a terminator, and terminates it.
template <std::size_t kSize>
void CopyField(char (&text)[kSize + 1], const char (&field)[kSize]) {
  const std::string_view view = BoundedView(field);
  view.copy(text, kSize);
  text[view.size()] = '\0';
}

}  // namespace wkagent

#endif  // WKAGENT_CORE_BOUNDED_COPY_H
