#ifndef WKAGENT_FILTER_GRAM_TABLE_H
#define WKAGENT_FILTER_GRAM_TABLE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "filter/upper_case.h"

namespace wkagent {

// Finds which of many texts occur in a value, in one pass over the value.
//
// A gram is a run of kGram bytes, or of fewer for texts that are shorter. Of each text one gram is
// picked, the one that is rarest among all texts. The pass looks each gram of the value up in a set
// of bits that has one for nearly each pick, and compares the texts with this pick where that is
// set. So the cost hardly depends on how many texts there are.
//
// Of long texts several neighbouring grams are picked, so that the pass need only look at each
// third gram of the value, or at each eighth where there are few texts.
class GramTable {
 public:
  static constexpr std::size_t kGram = 4;

  // A text, already mapped, and what Find reports for it.
  struct Text {
    std::string text;
    std::uint32_t id;
  };

  // All of `texts` have at least `gram` bytes, 1 to kGram.
  GramTable(std::size_t gram, std::vector<Text> texts);

  // Calls `found(id)` for each place in `value`, mapped by `map`, where a text stands, until it
  // returns false.
  template <typename Found>
  void Find(std::string_view value, const ByteMap& map, Found found) const {
    if (value.size() < gram_) return;
    if (stride_ > 1) {
      for (std::size_t i = 0; i + kGram <= value.size(); i += stride_) {
        const std::uint32_t gram = GramAt(value, i, map);
        if (MayBePick(gram) && !FindAt(value, map, i, gram, found)) return;
      }
      return;
    }
    std::uint32_t recent = 0;
    for (std::size_t i = 0; i < value.size(); ++i) {
      recent = recent << 8 | map[static_cast<unsigned char>(value[i])];
      const std::uint32_t gram = recent & mask_;
      if (i + 1 < gram_ || !MayBePick(gram)) continue;
      if (!FindAt(value, map, i + 1 - gram_, gram, found)) return;
    }
  }

 private:
  struct Pick {
    std::uint32_t gram;
    std::uint32_t offset;  // of the gram in the text
    std::uint32_t text;    // its place
  };

  // Four mapped bytes as a gram.
  [[nodiscard]] static std::uint32_t GramAt(std::string_view value, std::size_t place,
                                            const ByteMap& map) {
    std::uint32_t gram = 0;
    for (std::size_t i = place; i < place + kGram; ++i) {
      gram = gram << 8 | map[static_cast<unsigned char>(value[i])];
    }
    return gram;
  }

  [[nodiscard]] static std::uint32_t Hash(std::uint32_t gram) { return gram * 0x9e3779b1U; }
  [[nodiscard]] bool MayBePick(std::uint32_t gram) const {
    const std::uint32_t bit = Hash(gram) >> bitShift_;
    return (bits_[bit / 64] >> bit % 64 & 1) != 0;
  }

  template <typename Found>
  bool FindAt(std::string_view value, const ByteMap& map, std::size_t place, std::uint32_t gram,
              Found& found) const {
    const std::uint32_t bucket = Hash(gram) >> bucketShift_;
    for (std::uint32_t i = buckets_[bucket]; i < buckets_[bucket + 1]; ++i) {
      const Pick& pick = picks_[i];
      if (pick.gram != gram || pick.offset > place) continue;
      const Text& text = texts_[pick.text];
      if (!StandsAt(value.substr(place - pick.offset), map, text.text)) continue;
      if (!found(text.id)) return false;
    }
    return true;
  }

  [[nodiscard]] static bool StandsAt(std::string_view value, const ByteMap& map,
                                     std::string_view text) {
    if (text.size() > value.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (map[static_cast<unsigned char>(value[i])] != static_cast<unsigned char>(text[i])) {
        return false;
      }
    }
    return true;
  }

  void AddPicks();
  void SortIntoBuckets();

  std::size_t gram_;
  std::size_t stride_ = 1;
  std::uint32_t mask_;
  int bitShift_ = 0;
  int bucketShift_ = 0;
  std::vector<Text> texts_;
  std::vector<std::uint64_t> bits_;
  std::vector<Pick> picks_;             // by bucket
  std::vector<std::uint32_t> buckets_;  // where each begins, and the end
};

}  // namespace wkagent

#endif  // WKAGENT_FILTER_GRAM_TABLE_H
