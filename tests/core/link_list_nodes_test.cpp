#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/core.h>

#include "tests/core/list_inspection.h"
#include "support/counted_heap.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Whole nodes, handed from list to list as the memory pool does.
class LinkListNodes : public testing::Test {
 protected:
  void Fill(const std::vector<std::string>& blocks) {
    for (const std::string& block : blocks) Add(list_, block);
  }

  CLinkList list_;
  CLinkList other_;
};

TEST_F(LinkListNodes, GetHeadListNodeOfAnEmptyListIsNull) {
  EXPECT_EQ(list_.GetHeadListNode(), nullptr);
  EXPECT_EQ(list_.GetCount(), 0);
}

TEST_F(LinkListNodes, GetHeadListNodeDetachesTheHead) {
  Fill({"a", "b"});
  tagLinkList* const node = list_.GetHeadListNode();
  EXPECT_EQ(Block(node), "a");
  EXPECT_THAT(Blocks(list_), ElementsAre("b"));
  EXPECT_EQ(list_.head->prev, nullptr);
  list_.AddListNode(node);
}

TEST_F(LinkListNodes, GetHeadListNodeForgetsTheNodeReadLast) {
  Fill({"a", "b"});
  Get(list_);
  Get(list_);
  tagLinkList* const node = list_.GetHeadListNode();
  EXPECT_EQ(list_.last, nullptr);
  char update[] = "z";
  list_.UpdateNode(update, 1);
  EXPECT_THAT(Blocks(list_), ElementsAre("b"));
  list_.AddListNode(node);
}

TEST_F(LinkListNodes, GetHeadListNodeLeavesTheCursor) {
  Fill({"a", "b", "c"});
  Get(list_);
  tagLinkList* const node = list_.GetHeadListNode();
  EXPECT_EQ(Get(list_), "b");
  list_.AddListNode(node);
}

TEST_F(LinkListNodes, TailAndCursorStillNameTheNodeThatEmptiedTheList) {
  Fill({"a"});
  tagLinkList* const node = list_.GetHeadListNode();
  EXPECT_EQ(list_.GetCount(), 0);
  EXPECT_EQ(list_.head, nullptr);
  EXPECT_EQ(list_.tail, node);
  EXPECT_EQ(list_.current, node);
  list_.AddListNode(node);
}

TEST_F(LinkListNodes, AddListNodeRepairsTheTailOfAnEmptiedList) {
  Fill({"a"});
  list_.AddListNode(list_.GetHeadListNode());
  EXPECT_THAT(Blocks(list_), ElementsAre("a"));
  Fill({"b"});
  EXPECT_THAT(Blocks(list_), ElementsAre("a", "b"));
}

TEST_F(LinkListNodes, AddNodeRepairsTheTailOfAnEmptiedList) {
  Fill({"a"});
  other_.AddListNode(list_.GetHeadListNode());
  Fill({"b"});
  EXPECT_THAT(Blocks(list_), ElementsAre("b"));
  EXPECT_EQ(Get(list_), "b");
  EXPECT_THAT(Blocks(other_), ElementsAre("a"));
}

TEST_F(LinkListNodes, AddListNodeIgnoresNull) {
  Fill({"a"});
  list_.AddListNode(nullptr);
  EXPECT_THAT(Blocks(list_), ElementsAre("a"));
}

TEST_F(LinkListNodes, AddListNodeClearsTheNodesOldLinks) {
  Fill({"a", "b", "c"});
  Add(other_, "x");
  other_.AddListNode(list_.GetHeadListNode());
  EXPECT_THAT(Blocks(other_), ElementsAre("x", "a"));
  EXPECT_EQ(other_.tail->next, nullptr);
  EXPECT_THAT(Blocks(list_), ElementsAre("b", "c"));
}

TEST_F(LinkListNodes, AddListNodeLeavesTheCursorOfAnEmptyList) {
  Fill({"a"});
  other_.AddListNode(list_.GetHeadListNode());
  EXPECT_TRUE(other_.IsEndOfList());
  EXPECT_EQ(Get(other_), "<refused>");
  EXPECT_THAT(ReadAll(other_), ElementsAre("a"));
}

TEST_F(LinkListNodes, NodesMoveWithoutCopyOrRelease) {
  Fill({"a", "b", "c"});
  const char* const block = list_.head->data;
  const long before = LiveBlocks();
  while (tagLinkList* const node = list_.GetHeadListNode()) other_.AddListNode(node);
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
  EXPECT_EQ(other_.head->data, block);
  EXPECT_THAT(Blocks(list_), IsEmpty());
  EXPECT_THAT(Blocks(other_), ElementsAre("a", "b", "c"));
}

TEST_F(LinkListNodes, NodesGoRoundForEver) {
  Fill({"a", "b", "c"});
  for (int round = 0; round < 3; ++round) {
    while (tagLinkList* const node = list_.GetHeadListNode()) other_.AddListNode(node);
    while (tagLinkList* const node = other_.GetHeadListNode()) list_.AddListNode(node);
    EXPECT_THAT(ReadAll(list_), ElementsAre("a", "b", "c"));
  }
}

TEST_F(LinkListNodes, FreeNodeIgnoresNull) {
  Fill({"a"});
  list_.FreeNode(nullptr);
  EXPECT_THAT(Blocks(list_), ElementsAre("a"));
}

TEST_F(LinkListNodes, FreeNodeReleasesNodeAndBlock) {
  Fill({"a", "b"});
  tagLinkList* const node = list_.GetHeadListNode();
  const long before = LiveBlocks();
  list_.FreeNode(node);
  const long after = LiveBlocks();
  EXPECT_EQ(before - after, 2);
}

// Detaching lowered the count already: the freeing of a detached node lowers it a second time.
TEST_F(LinkListNodes, FreeNodeLowersTheCountOfADetachedNodeAgain) {
  Fill({"a", "b", "c"});
  tagLinkList* const node = list_.GetHeadListNode();
  EXPECT_EQ(list_.GetCount(), 2);
  list_.FreeNode(node);
  EXPECT_EQ(list_.GetCount(), 1);
  EXPECT_THAT(ReadAll(list_), ElementsAre("b", "c"));
}

TEST_F(LinkListNodes, ClearListReleasesEveryNodeWhateverTheCount) {
  const long before = LiveBlocks();
  Fill({"a", "b", "c"});
  list_.FreeNode(list_.GetHeadListNode());
  list_.FreeNode(list_.GetHeadListNode());
  list_.ClearList();
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
  EXPECT_EQ(list_.GetCount(), 0);
}

TEST_F(LinkListNodes, AFreedNodeIsNoLongerTailOrCursor) {
  Fill({"a"});
  list_.FreeNode(list_.GetHeadListNode());
  list_.SetTail();
  EXPECT_EQ(Get(list_), "<refused>");
  list_.RestoreSortPosition();
  EXPECT_EQ(Get(list_), "<refused>");
}

}  // namespace
}  // namespace wkagent::test
