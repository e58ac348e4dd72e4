#ifndef WKAGENT_FILTER_CODE_TABLE_H
#define WKAGENT_FILTER_CODE_TABLE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace wkagent {

// Tables of flags by code: the flag of code `first` stands at the front.

template <std::size_t kCount>
void SetCode(std::int32_t (&flags)[kCount], int first, int code) {
  if (code >= first && code - first < static_cast<int>(kCount)) flags[code - first] = 1;
}

// False also for codes outside the table.
template <std::size_t kCount>
[[nodiscard]] bool IsCodeSet(const std::int32_t (&flags)[kCount], int first, int code) {
  return code >= first && code - first < static_cast<int>(kCount) && flags[code - first] != 0;
}

// The set flags as bits, that of the first code lowest.
template <std::size_t kCount>
[[nodiscard]] std::uint32_t CodeBits(const std::int32_t (&flags)[kCount]) {
  std::uint32_t bits = 0;
  for (std::size_t index = 0; index < kCount; ++index) {
    if (flags[index] != 0) bits |= std::uint32_t{1} << index;
  }
  return bits;
}

// Prints the set codes, a blank after each. Deliberate: each is printed as one less.
template <std::size_t kCount>
void PrintCodes(const std::int32_t (&flags)[kCount], int first) {
  for (int index = 0; index < static_cast<int>(kCount); ++index) {
    if (flags[index] != 0) std::printf("%d ", first - 1 + index);
  }
}

}  // namespace wkagent

#endif  // WKAGENT_FILTER_CODE_TABLE_H
