#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/core.h>

#include "tests/core/list_inspection.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A list that holds `blocks`, as its host has filled it.
class LinkList : public testing::Test {
 protected:
  void Fill(const std::vector<std::string>& blocks) {
    for (const std::string& block : blocks) EXPECT_EQ(Add(list_, block), 0);
  }
  int AddExclusive(std::string block) {
    return list_.AddExclusiveNode(block.data(), static_cast<int>(block.size()));
  }
  void Update(std::string block, int size) { list_.UpdateNode(block.data(), size); }

  CLinkList list_;
};

static_assert(std::is_standard_layout_v<tagLinkList>);
static_assert(offsetof(tagLinkList, next) < offsetof(tagLinkList, prev));
static_assert(offsetof(tagLinkList, prev) < offsetof(tagLinkList, size));
static_assert(offsetof(tagLinkList, size) < offsetof(tagLinkList, data));
static_assert(sizeof(tagLinkList::size) == 4 && std::is_signed_v<decltype(tagLinkList::size)>);

static_assert(std::is_standard_layout_v<CLinkList>);
static_assert(offsetof(CLinkList, head) == 0);
static_assert(offsetof(CLinkList, head) < offsetof(CLinkList, tail));
static_assert(offsetof(CLinkList, tail) < offsetof(CLinkList, current));
static_assert(offsetof(CLinkList, current) < offsetof(CLinkList, last));
static_assert(offsetof(CLinkList, last) < offsetof(CLinkList, sortPosition));
static_assert(offsetof(CLinkList, sortPosition) < offsetof(CLinkList, count));
static_assert(!std::is_polymorphic_v<CLinkList>);

TEST_F(LinkList, StartsEmpty) {
  EXPECT_EQ(list_.head, nullptr);
  EXPECT_EQ(list_.tail, nullptr);
  EXPECT_EQ(list_.current, nullptr);
  EXPECT_EQ(list_.last, nullptr);
  EXPECT_EQ(list_.GetCount(), 0);
  EXPECT_TRUE(list_.IsEndOfList());
  EXPECT_EQ(list_.GetNodeDataSize(), 0);
  EXPECT_EQ(list_.TailChanged(), 0);
  EXPECT_EQ(Get(list_), "<refused>");
}

TEST_F(LinkList, AddNodeAppendsACopyOfTheBlock) {
  std::string block = "bob";
  EXPECT_EQ(list_.AddNode(block.data(), 3), 0);
  block = "eve";
  EXPECT_EQ(list_.AddNode(block.data(), 2), 0);
  EXPECT_THAT(Blocks(list_), ElementsAre("bob", "ev"));
  EXPECT_EQ(list_.GetCount(), 2);
}

TEST_F(LinkList, AddNodeKeepsZeroBytes) {
  const std::string block("a\0b\0", 4);
  Fill({block});
  EXPECT_EQ(list_.GetNodeDataSize(), 4);
  EXPECT_EQ(Get(list_), block);
}

TEST_F(LinkList, AddNodeTakesAnEmptyBlock) {
  Fill({"", "b"});
  EXPECT_EQ(list_.GetNodeDataSize(), 0);
  EXPECT_FALSE(list_.IsEndOfList());
  EXPECT_THAT(ReadAll(list_), ElementsAre("", "b"));
}

TEST_F(LinkList, AddNodeCountsANegativeSizeAsZero) {
  char block[] = "bob";
  EXPECT_EQ(list_.AddNode(block, -1), 0);
  EXPECT_THAT(Blocks(list_), ElementsAre(""));
}

TEST_F(LinkList, AddNodeMakesZerosOfNull) {
  EXPECT_EQ(list_.AddNode(nullptr, 3), 0);
  EXPECT_THAT(Blocks(list_), ElementsAre(std::string(3, '\0')));
}

TEST_F(LinkList, AFreshListIsReadWithoutSetHead) {
  Fill({"a", "b"});
  EXPECT_EQ(Get(list_), "a");
  EXPECT_EQ(Get(list_), "b");
  EXPECT_EQ(Get(list_), "<refused>");
}

TEST_F(LinkList, AddNodeLeavesTheCursorOfAListThatHoldsSomething) {
  Fill({"a"});
  EXPECT_EQ(Get(list_), "a");
  Fill({"b"});
  EXPECT_TRUE(list_.IsEndOfList());
  list_.SetHead();
  Fill({"c"});
  EXPECT_EQ(Get(list_), "a");
}

TEST_F(LinkList, AddExclusiveNodeAppendsADifferentBlock) {
  EXPECT_EQ(AddExclusive("bob"), 0);
  EXPECT_EQ(AddExclusive("eve"), 0);
  EXPECT_THAT(Blocks(list_), ElementsAre("bob", "eve"));
}

TEST_F(LinkList, AddExclusiveNodeKeepsEqualBlocksOut) {
  Fill({"bob", "eve"});
  EXPECT_EQ(AddExclusive("bob"), 0);
  EXPECT_EQ(AddExclusive("eve"), 0);
  EXPECT_THAT(Blocks(list_), ElementsAre("bob", "eve"));
}

TEST_F(LinkList, AddExclusiveNodeComparesOnlyTheBytesItIsGiven) {
  Fill({"bobby"});
  EXPECT_EQ(AddExclusive("bob"), 0);
  EXPECT_EQ(AddExclusive(""), 0);
  EXPECT_THAT(Blocks(list_), ElementsAre("bobby"));
}

TEST_F(LinkList, AddExclusiveNodeComparesBytesNotText) {
  Fill({std::string("a\0b", 3)});
  EXPECT_EQ(AddExclusive(std::string("a\0c", 3)), 0);
  EXPECT_EQ(AddExclusive("A"), 0);
  EXPECT_EQ(AddExclusive(std::string("a\0b", 3)), 0);
  EXPECT_EQ(list_.GetCount(), 3);
}

// With the address sanitizer, reading beyond the shorter block would show as well.
TEST_F(LinkList, AddExclusiveNodeNeverTakesAShorterBlockForEqual) {
  Fill({"bob", ""});
  EXPECT_EQ(AddExclusive("bobby"), 0);
  EXPECT_THAT(Blocks(list_), ElementsAre("bob", "", "bobby"));
}

TEST_F(LinkList, AddExclusiveNodeLooksAtTheTailToo) {
  Fill({"a", "b", "c"});
  EXPECT_EQ(AddExclusive("c"), 0);
  EXPECT_EQ(list_.GetCount(), 3);
}

TEST_F(LinkList, AddExclusiveNodeLeavesTheCursor) {
  Fill({"a", "b"});
  EXPECT_EQ(Get(list_), "a");
  AddExclusive("a");
  AddExclusive("c");
  EXPECT_EQ(Get(list_), "b");
}

TEST_F(LinkList, AddExclusiveNodeOnAnEmptyListSetsTheCursor) {
  AddExclusive("a");
  EXPECT_EQ(Get(list_), "a");
}

TEST_F(LinkList, GetNodeWalksToTheEndAndStaysThere) {
  Fill({"a", "b"});
  EXPECT_THAT(ReadAll(list_), ElementsAre("a", "b"));
  EXPECT_TRUE(list_.IsEndOfList());
  EXPECT_EQ(Get(list_), "<refused>");
  EXPECT_EQ(Block(list_.last), "b");
}

TEST_F(LinkList, GetNodeTakesABufferOfExactlyTheBlocksSize) {
  Fill({"bob"});
  EXPECT_EQ(Get(list_, 3), "bob");
}

TEST_F(LinkList, GetNodeRefusesASmallerBufferAndStays) {
  Fill({"a", "bob", "c"});
  EXPECT_THAT(ReadAll(list_, 2), ElementsAre("a"));
  EXPECT_FALSE(list_.IsEndOfList());
  EXPECT_EQ(Block(list_.last), "a");
  EXPECT_EQ(Get(list_, 0), "<refused>");
  EXPECT_EQ(Get(list_, 3), "bob");
}

TEST_F(LinkList, GetNodeRefusesANegativeSizeEvenForAnEmptyBlock) {
  Fill({""});
  char buffer[1] = {};
  EXPECT_EQ(list_.GetNode(buffer, -1), 1);
  EXPECT_EQ(list_.GetNode(buffer, 0), 0);
}

TEST_F(LinkList, GetNodeDataSizeIsThatOfTheNextBlock) {
  Fill({"bob", "al"});
  EXPECT_EQ(list_.GetNodeDataSize(), 3);
  Get(list_);
  EXPECT_EQ(list_.GetNodeDataSize(), 2);
  Get(list_);
  EXPECT_EQ(list_.GetNodeDataSize(), 0);
}

TEST_F(LinkList, SetHeadReadsAgainFromTheStart) {
  Fill({"a", "b"});
  EXPECT_THAT(ReadAll(list_), ElementsAre("a", "b"));
  EXPECT_THAT(ReadAll(list_), ElementsAre("a", "b"));
}

TEST_F(LinkList, SetHeadKeepsTheNodeReadLast) {
  Fill({"a", "b"});
  Get(list_);
  Get(list_);
  list_.SetHead();
  EXPECT_EQ(Block(list_.last), "b");
}

TEST_F(LinkList, SetTailLeavesOneBlockToRead) {
  Fill({"a", "b"});
  list_.SetTail();
  EXPECT_EQ(Get(list_), "b");
  EXPECT_TRUE(list_.IsEndOfList());
}

TEST_F(LinkList, TailChangedUnlessTheCursorIsAtTheTail) {
  Fill({"a", "b"});
  EXPECT_EQ(list_.TailChanged(), 1);
  Get(list_);
  EXPECT_EQ(list_.TailChanged(), 0);
  Get(list_);
  EXPECT_EQ(list_.TailChanged(), 1);
  list_.SetTail();
  Fill({"c"});
  EXPECT_EQ(list_.TailChanged(), 1);
}

TEST_F(LinkList, UpdateNodeBeforeAnyGetNodeDoesNothing) {
  Fill({"a"});
  Update("z", 1);
  EXPECT_THAT(Blocks(list_), ElementsAre("a"));
}

TEST_F(LinkList, UpdateNodeOverwritesTheBlockReadLast) {
  Fill({"bob", "eve"});
  Get(list_);
  Update("tim", 3);
  EXPECT_THAT(Blocks(list_), ElementsAre("tim", "eve"));
  EXPECT_EQ(Get(list_), "eve");
}

TEST_F(LinkList, UpdateNodeIgnoresItsSize) {
  Fill({"bob"});
  Get(list_);
  Update("timothy", 1);
  EXPECT_THAT(Blocks(list_), ElementsAre("tim"));
  Update("ann", 100);
  EXPECT_THAT(Blocks(list_), ElementsAre("ann"));
}

TEST_F(LinkList, UpdateNodeStillNamesTheLastBlockAtTheEnd) {
  Fill({"a", "b"});
  ReadAll(list_);
  Update("z", 1);
  EXPECT_THAT(Blocks(list_), ElementsAre("a", "z"));
}

TEST_F(LinkList, UpdateNodeIgnoresNull) {
  Fill({"a", ""});
  Get(list_);
  list_.UpdateNode(nullptr, 1);
  Get(list_);
  list_.UpdateNode(nullptr, 1);
  EXPECT_THAT(Blocks(list_), ElementsAre("a", ""));
}

TEST_F(LinkList, ClearListLeavesAListAsNew) {
  Fill({"a", "b"});
  Get(list_);
  list_.SetSortPosition();
  list_.ClearList();
  EXPECT_THAT(Blocks(list_), IsEmpty());
  EXPECT_EQ(list_.head, nullptr);
  EXPECT_EQ(list_.tail, nullptr);
  EXPECT_EQ(list_.current, nullptr);
  EXPECT_EQ(list_.last, nullptr);
  EXPECT_EQ(list_.SwitchSortPosition(), nullptr);
}

TEST_F(LinkList, AClearedListIsFilledAndClearedAgain) {
  for (int round = 0; round < 3; ++round) {
    Fill({"a", "b"});
    EXPECT_EQ(Get(list_), "a");
    list_.ClearList();
    list_.ClearList();
    Update("z", 1);
    EXPECT_EQ(list_.GetCount(), 0);
  }
}

}  // namespace
}  // namespace wkagent::test
