#ifndef WKAGENT_FILTER_TEXT_INDEX_H
#define WKAGENT_FILTER_TEXT_INDEX_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "filter/gram_table.h"

namespace wkagent {

// Finds which of many texts occur in a value. A text's id is its place among those given; an empty
// text occurs in every value.
class TextIndex {
 public:
  TextIndex() = default;
  explicit TextIndex(const std::vector<std::string>& mappedTexts);

  // Calls `found(id)` for texts that occur in `value`, mapped by `map`, in any order and perhaps
  // several times, until it returns false.
  template <typename Found>
  void Find(std::string_view value, const ByteMap& map, Found found) const {
    for (const std::uint32_t id : empty_) {
      if (!found(id)) return;
    }
    for (const GramTable& table : tables_) table.Find(value, map, found);
  }

 private:
  std::vector<std::uint32_t> empty_;
  std::vector<GramTable> tables_;  // of long texts, and of shorter ones
};

}  // namespace wkagent

#endif  // WKAGENT_FILTER_TEXT_INDEX_H
