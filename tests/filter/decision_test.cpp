#include "filter/decision.h"

#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "filter_support.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A filter over plain statements that cover what the test says.
class Decision : public ::testing::Test {
 protected:
  Decision() : filter_(Text("unused.xml")) {}

  WKFilterStatement& Add(bool include) {
    auto* statement = new WKFilterStatement;
    statement->SetIncExFlag(include);
    filter_.AddNode(&statement, sizeof(statement));
    return *statement;
  }

  bool Decide() {
    asked_.clear();
    return DecideEvent<WKFilterStatement>(filter_, [this](WKFilterStatement& statement) {
      asked_.push_back(&statement);
      return uncovering_.count(&statement) == 0;
    });
  }

  WKFilter filter_;
  std::set<WKFilterStatement*> uncovering_;
  std::vector<WKFilterStatement*> asked_;
};

TEST_F(Decision, NoStatementKeepsNothing) {
  EXPECT_FALSE(Decide());
  EXPECT_THAT(asked_, IsEmpty());
}

TEST_F(Decision, StatementsAreAskedInOrder) {
  WKFilterStatement& first = Add(true);
  WKFilterStatement& second = Add(true);
  WKFilterStatement& third = Add(true);
  uncovering_ = {&second};
  EXPECT_TRUE(Decide());
  EXPECT_THAT(asked_, ElementsAre(&first, &second, &third));
}

TEST_F(Decision, ExcludingStatementEndsTheDecision) {
  WKFilterStatement& first = Add(true);
  WKFilterStatement& second = Add(false);
  Add(true);
  EXPECT_FALSE(Decide());
  EXPECT_THAT(asked_, ElementsAre(&first, &second));
}

TEST_F(Decision, NextDecisionBeginsAtTheHead) {
  WKFilterStatement& first = Add(false);
  WKFilterStatement& second = Add(true);
  EXPECT_FALSE(Decide());
  uncovering_ = {&first};
  EXPECT_TRUE(Decide());
  EXPECT_THAT(asked_, ElementsAre(&first, &second));
}

TEST_F(Decision, AlertsOfOneStatementStandInFixedOrder) {
  WKFilterStatement& statement = Add(true);
  statement.SetSMTPAlert(true);
  statement.SetSyslogAlert(true);
  statement.SetSNMPAlert(true);
  statement.SetTo(Text("ops"));
  EXPECT_TRUE(Decide());
  EXPECT_THAT(Alerts(filter_), ElementsAre("snmp", "syslog", "mail ops"));
}

TEST_F(Decision, GatheringAddsTrapAndSyslogEntryOnce) {
  WKFilterStatement statement;
  statement.SetSNMPAlert(true);
  statement.SetSyslogAlert(true);
  AlertGathering gathering(filter_.alerts);
  gathering.Gather(statement);
  gathering.Gather(statement);
  EXPECT_THAT(Alerts(filter_), ElementsAre("snmp", "syslog"));
}

TEST_F(Decision, GatheringAddsAMailForEachStatement) {
  WKFilterStatement statement;
  statement.SetSMTPAlert(true);
  AlertGathering gathering(filter_.alerts);
  statement.SetTo(Text("a"));
  gathering.Gather(statement);
  statement.SetTo(Text("b"));
  gathering.Gather(statement);
  EXPECT_THAT(Alerts(filter_), ElementsAre("mail a", "mail b"));
}

TEST_F(Decision, AlertsExcludedTellsWhetherTheLastDecisionSuppressedAlerts) {
  WKFilterStatement& statement = Add(true);
  statement.SetExcludeAlert(true);
  EXPECT_TRUE(Decide());
  EXPECT_TRUE(filter_.alertsExcluded);
  statement.SetExcludeAlert(false);
  EXPECT_TRUE(Decide());
  EXPECT_FALSE(filter_.alertsExcluded);
}

}  // namespace
}  // namespace wkagent::test
