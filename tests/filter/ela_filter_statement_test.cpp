#include <climits>
#include <string>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_support.h"

namespace wkagent::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;

static_assert(std::is_base_of_v<WKFilterStatement, WKELAFilterStatement>);
static_assert(sizeof(WKELAFilterStatement::operations) == 8);
static_assert(sizeof(WKELAFilterStatement::conditions) == 12);

constexpr int kNoOperations[] = {INT_MIN, -21001, -1, 0, 1, 20001, 21000, 21003, INT_MAX};
constexpr int kNoConditions[] = {1, 2, 704, 708, 21001, INT_MAX};
constexpr int kFirstConditions[] = {INT_MIN, -705, -1, 0, 705};

class ElaFilterStatement : public ::testing::Test {
 protected:
  // Covers all but operations and conditions, which the test adds.
  void CoverOperationsOnly() {
    CoverEverything(statement_);
    statement_.SetAllOpsFlag(false);
  }

  bool Pass(int operation, int condition) {
    LoginEvent event;
    event.operation = operation;
    event.condition = condition;
    return Passes(statement_, event);
  }

  WKELAFilterStatement statement_;
};

TEST_F(ElaFilterStatement, StartsWithAllFlagsFalse) {
  EXPECT_FALSE(statement_.allOperations || statement_.allNodes || statement_.allUsers);
  EXPECT_FALSE(statement_.enabled || statement_.include || statement_.allDay);
  EXPECT_THAT(statement_.operations, Each(0));
  EXPECT_THAT(statement_.conditions, Each(0));
}

TEST_F(ElaFilterStatement, FieldsStandInTheirOrder) {
  EXPECT_LT(static_cast<void*>(&statement_.syslogAlert),
            static_cast<void*>(&statement_.allOperations));
  EXPECT_LT(static_cast<void*>(&statement_.allOperations),
            static_cast<void*>(statement_.operations));
  EXPECT_LT(static_cast<void*>(statement_.operations), static_cast<void*>(statement_.conditions));
}

TEST_F(ElaFilterStatement, AddOperationSetsBothFlags) {
  statement_.AddOperation(21002, 706);
  EXPECT_THAT(statement_.operations, ElementsAre(0, 1));
  EXPECT_THAT(statement_.conditions, ElementsAre(0, 1, 0));
  statement_.AddOperation(21001, 707);
  EXPECT_THAT(statement_.operations, ElementsAre(1, 1));
  EXPECT_THAT(statement_.conditions, ElementsAre(0, 1, 1));
}

TEST_F(ElaFilterStatement, MissingConditionIsTheFirst) {
  for (const int condition : kFirstConditions) {
    statement_.ClearOperations();
    statement_.AddOperation(21001, condition);
    EXPECT_THAT(statement_.conditions, ElementsAre(1, 0, 0)) << condition;
  }
}

TEST_F(ElaFilterStatement, OtherConditionsAreNotAdded) {
  for (const int condition : kNoConditions) statement_.AddOperation(21001, condition);
  EXPECT_THAT(statement_.operations, ElementsAre(1, 0));
  EXPECT_THAT(statement_.conditions, Each(0));
}

TEST_F(ElaFilterStatement, OtherOperationsAddTheirConditionAlone) {
  for (const int operation : kNoOperations) statement_.AddOperation(operation, 706);
  EXPECT_THAT(statement_.operations, Each(0));
  EXPECT_THAT(statement_.conditions, ElementsAre(0, 1, 0));
}

TEST_F(ElaFilterStatement, ClearOperationsClearsBothTablesAlone) {
  statement_.SetAllOpsFlag(true);
  for (const int condition : {705, 706, 707}) statement_.AddOperation(21001, condition);
  statement_.AddOperation(21002, 0);
  statement_.ClearOperations();
  EXPECT_THAT(statement_.operations, Each(0));
  EXPECT_THAT(statement_.conditions, Each(0));
  EXPECT_TRUE(statement_.allOperations);
}

TEST_F(ElaFilterStatement, OperationAndConditionMustBothBeSet) {
  CoverOperationsOnly();
  EXPECT_FALSE(Pass(21001, 705));
  statement_.AddOperation(21001, 706);
  EXPECT_TRUE(Pass(21001, 706));
  EXPECT_FALSE(Pass(21001, 705));
  EXPECT_FALSE(Pass(21002, 706));
}

TEST_F(ElaFilterStatement, OperationsAndConditionsAreIndependent) {
  CoverOperationsOnly();
  statement_.AddOperation(21001, 706);
  statement_.AddOperation(21002, 707);
  for (const int operation : {21001, 21002}) {
    EXPECT_FALSE(Pass(operation, 705));
    EXPECT_TRUE(Pass(operation, 706));
    EXPECT_TRUE(Pass(operation, 707));
  }
}

TEST_F(ElaFilterStatement, EventWithoutConditionHasTheFirst) {
  CoverOperationsOnly();
  statement_.AddOperation(21001, 0);
  for (const int condition : kFirstConditions) EXPECT_TRUE(Pass(21001, condition)) << condition;
  EXPECT_FALSE(Pass(21001, 706));
  EXPECT_FALSE(Pass(21001, 707));
}

TEST_F(ElaFilterStatement, OtherCodesFailUnlessAllOperationsAreCovered) {
  CoverOperationsOnly();
  for (const int condition : {705, 706, 707}) statement_.AddOperation(21001, condition);
  statement_.AddOperation(21002, 705);
  for (const int operation : kNoOperations) EXPECT_FALSE(Pass(operation, 705)) << operation;
  for (const int condition : kNoConditions) EXPECT_FALSE(Pass(21001, condition)) << condition;
  statement_.SetAllOpsFlag(true);
  for (const int operation : kNoOperations) EXPECT_TRUE(Pass(operation, 705)) << operation;
  for (const int condition : kNoConditions) EXPECT_TRUE(Pass(21001, condition)) << condition;
}

TEST_F(ElaFilterStatement, DisabledStatementNeverPasses) {
  CoverEverything(statement_);
  EXPECT_TRUE(Passes(statement_, LoginEvent()));
  statement_.SetEnableFlag(false);
  EXPECT_FALSE(Passes(statement_, LoginEvent()));
}

TEST_F(ElaFilterStatement, NullUserNeverPasses) {
  CoverEverything(statement_);
  LoginEvent event;
  event.user.reset();
  EXPECT_FALSE(Passes(statement_, event));
}

TEST_F(ElaFilterStatement, NodesRestrict) {
  CoverEverything(statement_);
  statement_.SetAllNodeFlag(false);
  EXPECT_FALSE(Passes(statement_, LoginEvent()));
  statement_.AddNode(Text("10.0."));
  EXPECT_TRUE(Passes(statement_, LoginEvent()));
  LoginEvent event;
  event.node = "192.0.2.1";
  EXPECT_FALSE(Passes(statement_, event));
  event.node.reset();
  EXPECT_FALSE(Passes(statement_, event));
  statement_.SetAllNodeFlag(true);
  EXPECT_TRUE(Passes(statement_, event));
}

TEST_F(ElaFilterStatement, UsersRestrict) {
  CoverEverything(statement_);
  statement_.SetAllUserFlag(false);
  EXPECT_FALSE(Passes(statement_, LoginEvent()));
  statement_.AddUser(Text("CN=Admin"));
  EXPECT_TRUE(Passes(statement_, LoginEvent()));
}

TEST_F(ElaFilterStatement, TimeWindowRestricts) {
  CoverEverything(statement_);
  statement_.SetAllDayFlag(false);
  SetWindow(statement_, time(nullptr), 86400, -86400);
  EXPECT_TRUE(Passes(statement_, LoginEvent()));
  SetWindow(statement_, time(nullptr), -86400, 86400);
  EXPECT_FALSE(Passes(statement_, LoginEvent()));
}

TEST_F(ElaFilterStatement, ExcludeStatementsPassAsWell) {
  CoverEverything(statement_);
  statement_.SetIncExFlag(false);
  EXPECT_TRUE(Passes(statement_, LoginEvent()));
}

}  // namespace
}  // namespace wkagent::test
