#include <cstring>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/core.h>

#include "tests/core/list_inspection.h"
#include "support/counted_heap.h"

namespace wkagent::test {
namespace {

// An object that tells when its destructor runs.
struct Statement {
  Statement() = default;
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  ~Statement() { ++destroyed; }

  long payload[8] = {};
  static inline int destroyed = 0;
};

// A list whose blocks are pointers to statements, as a filter's.
class LinkListElements : public testing::Test {
 protected:
  LinkListElements() { Statement::destroyed = 0; }

  Statement* AddStatement() {
    auto* statement = new Statement;
    list_.AddNode(static_cast<void*>(&statement), sizeof(statement));
    return statement;
  }
  Statement* GetStatement() {
    Statement* statement = nullptr;
    EXPECT_EQ(list_.GetNode(static_cast<void*>(&statement), sizeof(statement)), 0);
    return statement;
  }

  CLinkList list_;
};

TEST_F(LinkListElements, PointersComeBackAsTheyWereAdded) {
  Statement* const first = AddStatement();
  Statement* const second = AddStatement();
  list_.SetHead();
  EXPECT_EQ(GetStatement(), first);
  EXPECT_EQ(GetStatement(), second);
  EXPECT_TRUE(list_.IsEndOfList());
  list_.ClearList(0);
}

TEST_F(LinkListElements, ClearListLeavesTheObjectsAlive) {
  Statement* const statement = AddStatement();
  const long before = LiveBlocks();
  list_.ClearList();
  const long after = LiveBlocks();
  EXPECT_EQ(before - after, 2);
  EXPECT_EQ(Statement::destroyed, 0);
  delete statement;
  EXPECT_EQ(Statement::destroyed, 1);
}

TEST_F(LinkListElements, TheDestructorLeavesTheObjectsAlive) {
  auto* statement = new Statement;
  const long before = LiveBlocks();
  {
    CLinkList list;
    list.AddNode(static_cast<void*>(&statement), sizeof(statement));
  }
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
  delete statement;
  EXPECT_EQ(Statement::destroyed, 1);
}

TEST_F(LinkListElements, ClearListOfIntReleasesObjectsAndNodes) {
  const long before = LiveBlocks();
  for (int i = 0; i < 3; ++i) AddStatement();
  list_.ClearList(0);
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
  EXPECT_EQ(list_.GetCount(), 0);
  EXPECT_EQ(list_.head, nullptr);
}

TEST_F(LinkListElements, ClearListOfIntIgnoresItsArgument) {
  for (const int argument : {-1, 0, 1, 2147483647}) {
    const long before = LiveBlocks();
    AddStatement();
    list_.ClearList(argument);
    const long after = LiveBlocks();
    EXPECT_EQ(after, before) << argument;
  }
}

TEST_F(LinkListElements, ReleaseRunsNoDestructor) {
  AddStatement();
  list_.ClearElements();
  AddStatement();
  list_.ClearList(0);
  EXPECT_EQ(Statement::destroyed, 0);
}

TEST_F(LinkListElements, ClearElementsReleasesTheObjectsAndKeepsTheNodes) {
  for (int i = 0; i < 3; ++i) AddStatement();
  const long before = LiveBlocks();
  list_.ClearElements();
  const long after = LiveBlocks();
  EXPECT_EQ(before - after, 3);
  EXPECT_EQ(Blocks(list_).size(), 3U);
}

TEST_F(LinkListElements, ClearElementsRewindsTheCursor) {
  AddStatement();
  AddStatement();
  GetStatement();
  GetStatement();
  list_.ClearElements();
  EXPECT_EQ(list_.current, list_.head);
  EXPECT_EQ(GetStatement(), nullptr);
}

TEST_F(LinkListElements, ASecondClearReleasesNothingTwice) {
  AddStatement();
  list_.ClearElements();
  const long before = LiveBlocks();
  list_.ClearElements();
  const long between = LiveBlocks();
  list_.ClearList(0);
  list_.ClearList(0);
  EXPECT_EQ(between, before);
  EXPECT_EQ(list_.GetCount(), 0);
}

TEST_F(LinkListElements, ClearElementsTakesANullPointer) {
  Add(list_, std::string(8, '\0'));
  list_.ClearElements();
  EXPECT_EQ(list_.GetCount(), 1);
}

TEST_F(LinkListElements, ClearElementsPassesBlocksThatHoldNoPointer) {
  Add(list_, "seven77");
  Add(list_, "");
  AddStatement();
  const long before = LiveBlocks();
  list_.ClearElements();
  const long after = LiveBlocks();
  EXPECT_EQ(before - after, 1);
  EXPECT_EQ(Blocks(list_).front(), "seven77");
}

TEST_F(LinkListElements, ClearElementsReadsTheFirstEightBytesOfALongerBlock) {
  auto* statement = new Statement;
  std::string block(12, 'x');
  std::memcpy(block.data(), &statement, sizeof(statement));
  Add(list_, block);
  const long before = LiveBlocks();
  list_.ClearElements();
  const long after = LiveBlocks();
  EXPECT_EQ(before - after, 1);
  EXPECT_THAT(Blocks(list_).front(), testing::EndsWith("xxxx"));
}

TEST_F(LinkListElements, AnEmptyListClearsToNothing) {
  list_.ClearElements();
  list_.ClearList(0);
  EXPECT_EQ(list_.GetCount(), 0);
}

}  // namespace
}  // namespace wkagent::test
