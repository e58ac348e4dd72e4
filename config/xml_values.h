#ifndef WKAGENT_CONFIG_XML_VALUES_H
#define WKAGENT_CONFIG_XML_VALUES_H

#include <cstdlib>

namespace wkagent {

// The decimal number at the front of a text, 0 where there is none or the text is null.
[[nodiscard]] inline long ToLong(const char* text) {
  return text == nullptr ? 0 : std::strtol(text, nullptr, 10);
}

// The same as a 32-bit number: its low 32 bits.
[[nodiscard]] inline int ToInt(const char* text) { return static_cast<int>(ToLong(text)); }

// True when the number is not 0.
[[nodiscard]] inline bool ToFlag(const char* text) { return ToLong(text) != 0; }

}  // namespace wkagent

#endif  // WKAGENT_CONFIG_XML_VALUES_H
