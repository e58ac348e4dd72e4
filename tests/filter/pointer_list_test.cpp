#include "filter/pointer_list.h"

#include <vector>

#include <gtest/gtest.h>

namespace wkagent::test {
namespace {

void AddPointer(CLinkList& list, void* pointer) { list.AddNode(&pointer, sizeof(pointer)); }

std::vector<int*> Visited(const CLinkList& list) {
  std::vector<int*> visited;
  ForEachObject<int>(list, [&](int* object) { visited.push_back(object); });
  return visited;
}

TEST(PointerList, VisitsObjectsInOrderAndLeavesTheCursorAlone) {
  int objects[3] = {};
  CLinkList list;
  for (int& object : objects) AddPointer(list, &object);
  list.SetTail();
  EXPECT_EQ((std::vector<int*>{&objects[0], &objects[1], &objects[2]}), Visited(list));
  EXPECT_EQ(list.tail, list.current);
}

TEST(PointerList, NullPointersAndShortBlocksAreSkipped) {
  int object = 0;
  char shortBlock[7] = {};
  CLinkList list;
  AddPointer(list, nullptr);
  list.AddNode(shortBlock, sizeof(shortBlock));
  AddPointer(list, &object);
  EXPECT_EQ(std::vector<int*>{&object}, Visited(list));
}

TEST(PointerList, EmptyListVisitsNothing) { EXPECT_TRUE(Visited(CLinkList()).empty()); }

TEST(PointerList, ReleasingAlertsEmptiesTheListAndTakesSettingsAlong) {
  CLinkList list;
  for (const int alertType : {1, 2, 3}) {
    auto* wrapper = new AlertWrapper(alertType);
    if (alertType == 1) wrapper->SetSMTPAlert(new WKSMTPAlertObject);
    AddPointer(list, wrapper);
  }
  ReleaseAlerts(list);
  EXPECT_EQ(0, list.GetCount());
  ReleaseAlerts(list);
  EXPECT_EQ(0, list.GetCount());
}

int g_released = 0;
int g_destroyed = 0;

class CountedStatement : public WKFilterStatement {
 public:
  ~CountedStatement() override { ++g_destroyed; }
  void ReleaseOwned() override {
    ++g_released;
    WKFilterStatement::ReleaseOwned();
  }
};

TEST(PointerList, ReleasingStatementsRunsReleaseOwnedInPlaceOfDestructors) {
  g_released = 0;
  g_destroyed = 0;
  CLinkList list;
  for (int count = 0; count < 3; ++count) {
    WKFilterStatement* statement = new CountedStatement;
    statement->SetTitle(const_cast<char*>("title"));
    AddPointer(list, statement);
  }
  ReleaseStatements(list);
  EXPECT_EQ(0, list.GetCount());
  EXPECT_EQ(3, g_released);
  EXPECT_EQ(0, g_destroyed);
}

}  // namespace
}  // namespace wkagent::test
