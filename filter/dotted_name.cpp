#include "filter/dotted_name.h"

#include <algorithm>
#include <cstring>

namespace wkagent {

char* ConvertTypedName(char* name, char separator) {
  constexpr std::size_t kLongestResult = 254;
  if (name == nullptr) return nullptr;
  const char* equals = std::strchr(name, '=');
  if (equals == nullptr) return nullptr;

  // The result never outgrows what has been read, so it is built over the name itself.
  std::size_t length = 0;
  const auto append = [&](const char* text, std::size_t size) {
    const std::size_t fitting = std::min(size, kLongestResult - length);
    std::memmove(name + length, text, fitting);
    length += fitting;
  };
  for (bool first = true; equals != nullptr; first = false) {
    const char* const value = equals + 1;
    const char* const end = std::strchr(value, separator);
    const std::size_t size =
        end == nullptr ? std::strlen(value) : static_cast<std::size_t>(end - value);
    equals = end == nullptr ? nullptr : std::strchr(end + 1, '=');
    if (!first) append(".", 1);
    append(value, size);
  }
  name[length] = '\0';
  return name;
}

}  // namespace wkagent
