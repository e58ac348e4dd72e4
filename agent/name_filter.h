#ifndef WKAGENT_AGENT_NAME_FILTER_H
#define WKAGENT_AGENT_NAME_FILTER_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace wkagent {

// Tells of most texts, by their size and first letter, that they are none of a few names, whatever
// their case; the others must be compared.
class NameFilter {
 public:
  constexpr void Add(std::string_view name) { letters_[Row(name)] |= Letter(name); }

  [[nodiscard]] constexpr bool MayBeName(std::string_view text) const {
    return !text.empty() && (letters_[Row(text)] & Letter(text)) != 0;
  }

 private:
  static constexpr std::size_t kRows = 32;

  static constexpr std::size_t Row(std::string_view text) {
    return std::min(text.size(), kRows - 1);
  }
  // A letter's lower five bits are the same in both cases.
  static constexpr std::uint32_t Letter(std::string_view text) {
    return std::uint32_t{1} << (static_cast<unsigned char>(text.front()) & 31U);
  }

  std::array<std::uint32_t, kRows> letters_{};  // of the names of each size
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_NAME_FILTER_H
