#ifndef WKAGENT_FILTER_UPPER_CASE_H
#define WKAGENT_FILTER_UPPER_CASE_H

#include <array>
#include <cctype>
#include <numeric>

namespace wkagent {

// What each byte is compared as.
using ByteMap = std::array<unsigned char, 256>;

// The upper case of each byte in the thread's locale, as toupper(3) has it.
[[nodiscard]] inline ByteMap UpperCaseMap() {
  ByteMap map{};
  std::iota(map.begin(), map.end(), 0);
  for (unsigned char& byte : map) byte = static_cast<unsigned char>(std::toupper(byte));
  return map;
}

// Each byte as it is.
[[nodiscard]] inline ByteMap SameByteMap() {
  ByteMap map{};
  std::iota(map.begin(), map.end(), 0);
  return map;
}

// Another value in another locale: where toupper(3) of this thread has its table.
[[nodiscard]] inline const void* UpperCaseLocale() { return *__ctype_toupper_loc(); }

}  // namespace wkagent

#endif  // WKAGENT_FILTER_UPPER_CASE_H
