#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/core.h>

#include "tests/core/list_inspection.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;

using Letters = std::vector<std::string>;

// One letter a block: "cab" is a list of three.
class LinkListSort : public testing::Test {
 protected:
  void Fill(const std::string& letters) {
    list_.ClearList();
    for (const char letter : letters) Add(list_, {letter});
  }

  // Reads up to the element at `index`, so that it is the one read last.
  void ReadTo(std::size_t index) {
    list_.SetHead();
    for (std::size_t i = 0; i <= index; ++i) Get(list_);
  }

  // Marks the element at `first` and exchanges it with that at `second`.
  tagLinkList* Switch(std::size_t first, std::size_t second) {
    ReadTo(first);
    list_.SetSortPosition();
    ReadTo(second);
    return list_.SwitchSortPosition();
  }

  // Sorts as hosts do: each place is marked, and every smaller element met after it takes the place
  // at once.
  void SortByExchange() {
    list_.SetHead();
    for (std::string least = Get(list_); least != kEnd; least = Get(list_)) {
      list_.SetSortPosition();
      for (std::string next = Get(list_); next != kEnd; next = Get(list_)) {
        if (next >= least) continue;
        EXPECT_EQ(Block(list_.SwitchSortPosition()), next);
        least = next;
      }
      list_.RestoreSortPosition();
    }
  }

  // Looks the rest through for its smallest element first, then walks to it and exchanges once.
  void SortBySelection() {
    list_.SetHead();
    for (std::string least = Get(list_); least != kEnd; least = Get(list_)) {
      list_.SetSortPosition();
      const std::string here = least;
      for (std::string next = Get(list_); next != kEnd; next = Get(list_)) {
        least = std::min(least, next);
      }
      list_.RestoreSortPosition();
      if (least != here) {
        WalkTo(least);
        list_.SwitchSortPosition();
      }
      list_.RestoreSortPosition();
    }
  }

  void WalkTo(const std::string& block) {
    while (Get(list_) != block) ASSERT_FALSE(list_.IsEndOfList());
  }

  static constexpr const char* kEnd = "<refused>";
  CLinkList list_;
};

TEST_F(LinkListSort, SwitchExchangesTwoPlacesApart) {
  Fill("abcde");
  tagLinkList* const node = Switch(1, 4);
  EXPECT_EQ(Block(node), "e");
  EXPECT_THAT(Blocks(list_), ElementsAre("a", "e", "c", "d", "b"));
}

TEST_F(LinkListSort, SwitchExchangesNeighbours) {
  Fill("abcd");
  Switch(1, 2);
  EXPECT_THAT(Blocks(list_), ElementsAre("a", "c", "b", "d"));
}

TEST_F(LinkListSort, SwitchExchangesAcrossOneNode) {
  Fill("abcde");
  Switch(1, 3);
  EXPECT_THAT(Blocks(list_), ElementsAre("a", "d", "c", "b", "e"));
}

TEST_F(LinkListSort, SwitchMovesHeadAndTail) {
  Fill("ab");
  Switch(0, 1);
  EXPECT_EQ(Block(list_.head), "b");
  EXPECT_EQ(Block(list_.tail), "a");
  EXPECT_EQ(list_.head->prev, nullptr);
  EXPECT_EQ(list_.tail->next, nullptr);
}

TEST_F(LinkListSort, SwitchTakesTheMarkAlong) {
  Fill("abcd");
  tagLinkList* const node = Switch(0, 2);
  EXPECT_EQ(list_.sortPosition, node);
  EXPECT_EQ(list_.last, node);
  list_.RestoreSortPosition();
  EXPECT_EQ(Get(list_), "b");
}

TEST_F(LinkListSort, SwitchLeavesTheCursorBehindTheExchangedPlace) {
  Fill("abcd");
  Switch(0, 2);
  EXPECT_EQ(Get(list_), "d");
}

TEST_F(LinkListSort, SwitchMovesNodesNotBlocks) {
  Fill("abc");
  const tagLinkList* const first = list_.head;
  const char* const block = first->data;
  Switch(0, 2);
  EXPECT_EQ(list_.tail, first);
  EXPECT_EQ(first->data, block);
}

TEST_F(LinkListSort, SwitchOfANodeWithItselfChangesNothing) {
  Fill("abc");
  EXPECT_EQ(Block(Switch(1, 1)), "b");
  EXPECT_THAT(Blocks(list_), ElementsAre("a", "b", "c"));
}

TEST_F(LinkListSort, EveryPairOfPlacesIsExchanged) {
  const std::string letters = "abcdef";
  for (std::size_t size = 1; size <= letters.size(); ++size) {
    for (std::size_t second = 0; second < size; ++second) {
      for (std::size_t first = 0; first <= second; ++first) {
        SCOPED_TRACE(std::to_string(first) + " and " + std::to_string(second));
        Fill(letters.substr(0, size));
        Letters expected = Blocks(list_);
        std::swap(expected[first], expected[second]);
        EXPECT_EQ(Block(Switch(first, second)), expected[first]);
        EXPECT_EQ(Blocks(list_), expected);
      }
    }
  }
}

TEST_F(LinkListSort, EveryPermutationIsSortedByExchange) {
  for (std::string sorted = "a"; sorted.size() <= 6;
       sorted += static_cast<char>(sorted.back() + 1)) {
    std::string letters = sorted;
    do {
      SCOPED_TRACE(letters);
      Fill(sorted);
      const Letters expected = Blocks(list_);
      Fill(letters);
      SortByExchange();
      ASSERT_EQ(Blocks(list_), expected);
    } while (std::next_permutation(letters.begin(), letters.end()));
  }
}

TEST_F(LinkListSort, EveryPermutationIsSortedBySelection) {
  for (std::string sorted = "a"; sorted.size() <= 6;
       sorted += static_cast<char>(sorted.back() + 1)) {
    std::string letters = sorted;
    do {
      SCOPED_TRACE(letters);
      Fill(sorted);
      const Letters expected = Blocks(list_);
      Fill(letters);
      SortBySelection();
      ASSERT_EQ(Blocks(list_), expected);
    } while (std::next_permutation(letters.begin(), letters.end()));
  }
}

TEST_F(LinkListSort, EqualElementsAreSorted) {
  std::string letters = "aabbcc";
  do {
    SCOPED_TRACE(letters);
    Fill(letters);
    SortByExchange();
    ASSERT_THAT(Blocks(list_), ElementsAre("a", "a", "b", "b", "c", "c"));
  } while (std::next_permutation(letters.begin(), letters.end()));
}

TEST_F(LinkListSort, ASortedListIsReadAndAppendedTo) {
  Fill("cba");
  SortByExchange();
  Add(list_, "d");
  EXPECT_THAT(ReadAll(list_), ElementsAre("a", "b", "c", "d"));
}

TEST_F(LinkListSort, WithoutAMarkNothingIsExchanged) {
  Fill("ab");
  EXPECT_EQ(list_.SwitchSortPosition(), nullptr);
  ReadTo(0);
  EXPECT_EQ(list_.SwitchSortPosition(), nullptr);
  EXPECT_THAT(Blocks(list_), ElementsAre("a", "b"));
}

TEST_F(LinkListSort, TheMarkIsTheNodeReadLast) {
  Fill("abc");
  list_.SetSortPosition();
  list_.RestoreSortPosition();
  EXPECT_TRUE(list_.IsEndOfList());
  ReadTo(1);
  list_.SetSortPosition();
  list_.SetHead();
  list_.RestoreSortPosition();
  EXPECT_EQ(Get(list_), "c");
}

TEST_F(LinkListSort, RestoringAMarkAtTheTailEndsTheList) {
  Fill("ab");
  ReadTo(1);
  list_.SetSortPosition();
  list_.SetHead();
  list_.RestoreSortPosition();
  EXPECT_TRUE(list_.IsEndOfList());
}

TEST_F(LinkListSort, AnEmptyListIsSorted) {
  SortByExchange();
  SortBySelection();
  EXPECT_EQ(list_.GetCount(), 0);
}

}  // namespace
}  // namespace wkagent::test
