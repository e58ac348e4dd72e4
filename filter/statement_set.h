#ifndef WKAGENT_FILTER_STATEMENT_SET_H
#define WKAGENT_FILTER_STATEMENT_SET_H

#include <bit>
#include <cstdint>
#include <vector>

namespace wkagent {

// A set of statements, by their places in the filter: a bit each.
class StatementSet {
 public:
  StatementSet() = default;
  explicit StatementSet(std::size_t statements) : words_((statements + 63) / 64) {}

  void Add(std::size_t place) { words_[place / 64] |= std::uint64_t{1} << place % 64; }

  // Keeps those that are in `other` as well; both are sets of the same filter.
  void Intersect(const StatementSet& other) {
    for (std::size_t i = 0; i < words_.size(); ++i) words_[i] &= other.words_[i];
  }

  [[nodiscard]] bool Contains(std::size_t place) const {
    return (words_[place / 64] >> place % 64 & 1) != 0;
  }
  [[nodiscard]] bool IsEmpty() const {
    for (const std::uint64_t word : words_) {
      if (word != 0) return false;
    }
    return true;
  }

  // Calls `visit(place)` in ascending order until it returns false.
  template <typename Visit>
  void ForEach(Visit visit) const {
    for (std::size_t i = 0; i < words_.size(); ++i) {
      for (std::uint64_t rest = words_[i]; rest != 0; rest &= rest - 1) {
        if (!visit(i * 64 + static_cast<std::size_t>(std::countr_zero(rest)))) return;
      }
    }
  }

 private:
  std::vector<std::uint64_t> words_;
};

}  // namespace wkagent

#endif  // WKAGENT_FILTER_STATEMENT_SET_H
