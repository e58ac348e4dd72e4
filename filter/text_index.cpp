#include "filter/text_index.h"

#include <algorithm>
#include <array>
#include <utility>

namespace wkagent {

namespace {

// Shorter texts would make the pass over long ones slow.
constexpr std::size_t kLong = 11;

}  // namespace

TextIndex::TextIndex(const std::vector<std::string>& mappedTexts) {
  // By the size of their grams; the long ones apart.
  std::array<std::vector<GramTable::Text>, GramTable::kGram + 2> groups;
  for (std::size_t i = 0; i < mappedTexts.size(); ++i) {
    const std::size_t length = mappedTexts[i].size();
    const auto id = static_cast<std::uint32_t>(i);
    if (length == 0) {
      empty_.push_back(id);
    } else {
      const bool isLong = length >= kLong;
      groups[isLong ? GramTable::kGram + 1 : std::min(length, GramTable::kGram)].push_back(
          {mappedTexts[i], id});
    }
  }
  for (std::size_t group = groups.size() - 1; group > 0; --group) {
    if (groups[group].empty()) continue;
    tables_.emplace_back(std::min(group, GramTable::kGram), std::move(groups[group]));
  }
}

}  // namespace wkagent
