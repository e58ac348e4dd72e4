// What a decision may cost beside time, once a filter has decided before.

#include <string>

#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "support/counted_calls.h"
#include "support/counted_heap.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

// A filter of statements on users of which none, or the last, is that of the events.
class DecisionCost : public ::testing::Test {
 protected:
  void AddStatements(int count, int usersEach) {
    for (int i = 0; i < count; ++i) {
      auto* statement = new WKEDAFilterStatement;
      statement->SetEnableFlag(true);
      statement->SetIncExFlag(true);
      statement->SetAllDayFlag(i % 2 == 0);
      statement->SetAllOpsFlag(true);
      statement->SetAuditedContext(Text(""));
      statement->SetAllObjFlag(true);
      statement->SetAllClassFlag(true);
      statement->SetAllAttrFlag(i % 3 != 0);
      statement->AddAttr(Text("title"));
      statement->SetAllValueFlag(true);
      for (int user = 0; user < usersEach; ++user) {
        statement->AddUser(Text("user" + std::to_string(i) + '-' + std::to_string(user) + ".acme"));
      }
      filter_.AddNode(&statement, sizeof(statement));
    }
  }

  bool Decide(const char* user) {
    return filter_.PassFilter(20005, Text(user), Text("192.0.2.1"), Text("jsmith.sales.acme"),
                              Text("User"), Text("title"), Text("head of sales"));
  }

  // The blocks of memory that 1,000 decisions take, half of them to keep the event.
  long AllocationsOfDecisions() {
    std::string texts[] = {"User0-0.ACME.tree", "nobody.acme", "192.0.2.1",
                           "jsmith.sales.acme", "User",        "title",
                           "head of sales"};
    const auto decide = [&](std::string& user) {
      return filter_.PassFilter(20005, user.data(), texts[2].data(), texts[3].data(),
                                texts[4].data(), texts[5].data(), texts[6].data());
    };
    EXPECT_TRUE(decide(texts[0]));
    EXPECT_FALSE(decide(texts[1]));
    int kept = 0;
    const long before = Allocations();
    for (int i = 0; i < 1000; ++i) kept += decide(texts[i % 2]) ? 1 : 0;
    const long allocations = Allocations() - before;
    EXPECT_EQ(500, kept);
    return allocations;
  }

  WKEDAFilter filter_{Text("none.xml")};
};

TEST_F(DecisionCost, OfFewStatementsIsNoMemory) {
  AddStatements(10, 3);
  EXPECT_EQ(0, AllocationsOfDecisions());
}

TEST_F(DecisionCost, OfManyStatementsIsNoMemory) {
  AddStatements(1000, 3);
  EXPECT_EQ(0, AllocationsOfDecisions());
}

TEST_F(DecisionCost, OfLongListsIsNoMemory) {
  AddStatements(2, 5000);
  EXPECT_EQ(0, AllocationsOfDecisions());
}

TEST_F(DecisionCost, IsMemoryWhereAlertsAreGathered) {
  AddStatements(1, 1);
  WKEDAFilterStatement* statement = nullptr;
  filter_.statements.SetHead();
  filter_.GetNode(&statement, sizeof(statement));
  statement->SetSNMPAlert(true);
  EXPECT_GT(AllocationsOfDecisions(), 0);
}

TEST_F(DecisionCost, IsNoCallOfTheSystem) {
  AddStatements(100, 3);
  Decide("user0-0.acme");
  const CountedCalls calls;
  for (int i = 0; i < 100; ++i) Decide(i % 2 == 0 ? "user1-1.acme" : "nobody");
  EXPECT_EQ("", calls.Text());
}

}  // namespace
}  // namespace wkagent::test
