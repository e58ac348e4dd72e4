#ifndef WKAGENT_TESTS_SUPPORT_COUNTED_HEAP_H
#define WKAGENT_TESTS_SUPPORT_COUNTED_HEAP_H

#include <atomic>
#include <cstddef>
#include <limits>
#include <string_view>

namespace wkagent::test {

// The number of blocks that the whole process, the library included, has from operator new and has
// not given back. For programs that are built with support/counted_heap.cpp. Assertions allocate
// too: take the figure before, act, take it after, and only then compare.
[[nodiscard]] long LiveBlocks();

// The number that it has got so far, those included that it has given back.
[[nodiscard]] long Allocations();

// While it lives, operator new fails for more than `size` bytes at once.
class HeapLimit {
 public:
  explicit HeapLimit(std::size_t size) { limit = size; }
  ~HeapLimit() { limit = kNone; }
  HeapLimit(const HeapLimit&) = delete;
  HeapLimit& operator=(const HeapLimit&) = delete;

  static constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();
  static inline std::atomic<std::size_t> limit{kNone};
};

// While it lives, counts the blocks that operator delete gets with `text` in them: what was secret
// there is left in memory. One at a time.
class LeftInMemory {
 public:
  explicit LeftInMemory(std::string_view text) {
    count = 0;
    wanted = text;
  }
  ~LeftInMemory() { wanted = {}; }
  LeftInMemory(const LeftInMemory&) = delete;
  LeftInMemory& operator=(const LeftInMemory&) = delete;

  static inline std::string_view wanted;
  static inline int count = 0;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_COUNTED_HEAP_H
