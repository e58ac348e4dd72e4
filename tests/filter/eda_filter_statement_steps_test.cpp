#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_support.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;

// Breaks one step of the decision and tells the order of the steps by which lists were searched: a
// search for the one entry of a list leaves the cursor at the end.
class EdaFilterStatementSteps : public ::testing::Test {
 protected:
  EdaFilterStatementSteps() {
    statement_.SetEnableFlag(true);
    statement_.SetAllDayFlag(true);
    statement_.AddOperation(20001);
    statement_.SetAuditedContext(Text("sales.acme"));
    statement_.AddUser(Text("admin"));
    statement_.AddObject(Text("jsmith"));
    statement_.AddClass(Text("User"));
    statement_.AddAttr(Text("Surname"));
    statement_.AddAttrValue(Text("Smith"));
  }

  // The lists that a decision on `event_` searches, in the order of the steps.
  std::vector<std::string> Searched(bool passes) {
    std::vector<std::string> searched;
    EXPECT_EQ(passes, Passes(statement_, event_));
    for (const auto& [name, list] :
         {std::pair("users", &statement_.users), std::pair("objects", &statement_.objects),
          std::pair("classes", &statement_.classes),
          std::pair("attributes", &statement_.attributes),
          std::pair("values", &statement_.values)}) {
      if (list->IsEndOfList()) searched.emplace_back(name);
    }
    return searched;
  }

  WKEDAFilterStatement statement_;
  DirectoryEvent event_;
};

TEST_F(EdaFilterStatementSteps, AllStepsPass) {
  EXPECT_THAT(Searched(true), ElementsAre("users", "objects", "classes", "attributes", "values"));
}

TEST_F(EdaFilterStatementSteps, FirstIsEnabled) {
  statement_.SetEnableFlag(false);
  EXPECT_THAT(Searched(false), ElementsAre());
}

TEST_F(EdaFilterStatementSteps, SecondIsTheOperation) {
  event_.operation = 20002;
  EXPECT_THAT(Searched(false), ElementsAre());
}

TEST_F(EdaFilterStatementSteps, ThirdIsTheUserGiven) {
  event_.user.reset();
  EXPECT_THAT(Searched(false), ElementsAre());
}

TEST_F(EdaFilterStatementSteps, ThirdIsTheObjectGiven) {
  event_.object.reset();
  EXPECT_THAT(Searched(false), ElementsAre());
}

TEST_F(EdaFilterStatementSteps, FourthAndFifthAreTheContext) {
  event_.object = "jsmith.marketing.acme";
  EXPECT_THAT(Searched(false), ElementsAre());
  event_.object = "jsmith";
  EXPECT_THAT(Searched(false), ElementsAre());
}

TEST_F(EdaFilterStatementSteps, SixthIsTheTime) {
  statement_.SetAllDayFlag(false);
  EXPECT_THAT(Searched(false), ElementsAre());
}

TEST_F(EdaFilterStatementSteps, SixthIsTheUser) {
  event_.user = "bob";
  EXPECT_THAT(Searched(false), ElementsAre("users"));
}

TEST_F(EdaFilterStatementSteps, SeventhIsTheObject) {
  event_.object = "ann.sales.acme";
  EXPECT_THAT(Searched(false), ElementsAre("users", "objects"));
}

TEST_F(EdaFilterStatementSteps, EighthIsTheClass) {
  event_.className = "Group";
  EXPECT_THAT(Searched(false), ElementsAre("users", "objects", "classes"));
}

TEST_F(EdaFilterStatementSteps, NinthIsTheAttribute) {
  event_.attribute = "Given";
  EXPECT_THAT(Searched(false), ElementsAre("users", "objects", "classes", "attributes"));
}

TEST_F(EdaFilterStatementSteps, TenthIsTheValue) {
  event_.value = "Jones";
  EXPECT_THAT(Searched(false), ElementsAre("users", "objects", "classes", "attributes", "values"));
}

TEST_F(EdaFilterStatementSteps, CoveredWholesLeaveTheirListsUnsearched) {
  CoverEverything(statement_);
  EXPECT_THAT(Searched(true), ElementsAre());
}

}  // namespace
}  // namespace wkagent::test
