#include "filter/gram_table.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace wkagent {
namespace {

constexpr int kHashBits = 32;
constexpr std::size_t kFewestBits = 1024;
constexpr std::size_t kFewTexts = 4;
constexpr std::size_t kStrideOfFew = 8;
constexpr std::size_t kStrideOfMany = 3;  // of many texts, few grams in a row are rare
constexpr std::size_t kBitsOfPick = 16;   // so that few other grams meet a bit that is set

int ShiftFor(std::size_t places) {
  return kHashBits - static_cast<int>(std::bit_width(std::bit_ceil(places)) - 1);
}

// The grams of a text, in its order.
std::vector<std::uint32_t> GramsOf(std::string_view text, std::size_t size) {
  std::vector<std::uint32_t> grams;
  std::uint64_t recent = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    recent =
        (recent << 8 | static_cast<unsigned char>(text[i])) & ((std::uint64_t{1} << 8 * size) - 1);
    if (i + 1 >= size) grams.push_back(static_cast<std::uint32_t>(recent));
  }
  return grams;
}

}  // namespace

GramTable::GramTable(std::size_t gram, std::vector<Text> texts)
    : gram_(gram), mask_(~std::uint32_t{0} >> (kHashBits - 8 * gram)), texts_(std::move(texts)) {
  if (gram == kGram) {
    stride_ = texts_.size() <= kFewTexts ? kStrideOfFew : kStrideOfMany;
    for (const Text& text : texts_) stride_ = std::min(stride_, text.text.size() - kGram + 1);
  }
  AddPicks();
  SortIntoBuckets();
}

// Picks the stride_ grams in a row that are rarest together.
void GramTable::AddPicks() {
  constexpr std::size_t kCounters = std::size_t{1} << 12;
  std::vector<std::uint32_t> counters(kCounters);
  const auto counterOf = [&, shift = ShiftFor(kCounters)](std::uint32_t gram) -> std::uint32_t& {
    return counters[Hash(gram) >> shift];
  };
  for (const Text& text : texts_) {
    for (const std::uint32_t gram : GramsOf(text.text, gram_)) ++counterOf(gram);
  }
  for (std::size_t place = 0; place < texts_.size(); ++place) {
    const std::vector<std::uint32_t> grams = GramsOf(texts_[place].text, gram_);
    std::size_t best = 0;
    std::uint64_t fewest = ~std::uint64_t{0};
    for (std::size_t first = 0; first + stride_ <= grams.size(); ++first) {
      std::uint64_t count = 0;
      for (std::size_t i = 0; i < stride_; ++i) count += counterOf(grams[first + i]);
      if (count >= fewest) continue;
      fewest = count;
      best = first;
    }
    for (std::size_t offset = best; offset < best + stride_; ++offset) {
      picks_.push_back(
          {grams[offset], static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(place)});
    }
  }
}

void GramTable::SortIntoBuckets() {
  const std::size_t bits = std::bit_ceil(std::max(kFewestBits, kBitsOfPick * picks_.size()));
  const std::size_t buckets = std::bit_ceil(2 * picks_.size() + 1);
  bitShift_ = ShiftFor(bits);
  bucketShift_ = ShiftFor(buckets);
  bits_.resize(bits / 64);
  buckets_.resize(buckets + 1);
  const auto bucketOf = [this](const Pick& pick) { return Hash(pick.gram) >> bucketShift_; };
  std::stable_sort(picks_.begin(), picks_.end(), [&](const Pick& left, const Pick& right) {
    return bucketOf(left) < bucketOf(right);
  });
  for (const Pick& pick : picks_) {
    const std::uint32_t bit = Hash(pick.gram) >> bitShift_;
    bits_[bit / 64] |= std::uint64_t{1} << bit % 64;
    ++buckets_[bucketOf(pick) + 1];
  }
  for (std::size_t i = 1; i < buckets_.size(); ++i) buckets_[i] += buckets_[i - 1];
}

}  // namespace wkagent
