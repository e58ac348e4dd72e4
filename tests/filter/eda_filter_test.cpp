#include <climits>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_support.h"
#include "support/agent_home.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// A filter on a file without statements; the tests add theirs.
class EdaFilter : public ::testing::Test {
 protected:
  EdaFilter() {
    home_.Write("config/f.xml", FilterFile(""));
    filter_ = std::make_unique<WKEDAFilter>(Text("f.xml"));
  }

  // An include statement that covers everything and wants these alerts; `mailTo` may be null.
  WKEDAFilterStatement& Include(bool trap, bool syslog, const char* mailTo) {
    WKEDAFilterStatement& statement = AddStatement(*filter_);
    statement.SetSNMPAlert(trap);
    statement.SetSyslogAlert(syslog);
    statement.SetSMTPAlert(mailTo != nullptr);
    if (mailTo != nullptr) statement.SetTo(Text(mailTo));
    return statement;
  }

  WKEDAFilterStatement& Exclude() {
    WKEDAFilterStatement& statement = AddStatement(*filter_);
    statement.SetIncExFlag(false);
    return statement;
  }

  // Restricts a statement to one class of objects.
  static void OnlyClass(WKEDAFilterStatement& statement, const char* name) {
    statement.SetAllClassFlag(false);
    statement.AddClass(Text(name));
  }

  bool Pass(const std::string& className = "User") {
    Event event;
    event.className = className;
    return Passes(*filter_, event);
  }

  std::vector<std::string> GatheredAlerts() { return Alerts(*filter_); }

  AgentHome home_;
  std::unique_ptr<WKEDAFilter> filter_;
};

TEST_F(EdaFilter, WithoutStatementsNothingPasses) {
  EXPECT_FALSE(Pass());
  EXPECT_THAT(GatheredAlerts(), IsEmpty());
}

TEST_F(EdaFilter, OneCoveringIncludeStatementIsEnough) {
  OnlyClass(Include(false, false, nullptr), "Group");
  Include(false, false, nullptr);
  OnlyClass(Include(false, false, nullptr), "Server");
  EXPECT_TRUE(Pass());
}

TEST_F(EdaFilter, UncoveredEventDoesNotPass) {
  OnlyClass(Include(true, true, "ops"), "Group");
  EXPECT_FALSE(Pass("User"));
  EXPECT_THAT(GatheredAlerts(), IsEmpty());
}

TEST_F(EdaFilter, DisabledStatementIsPassedOver) {
  Include(true, true, "ops").SetEnableFlag(false);
  EXPECT_FALSE(Pass());
  Exclude().SetEnableFlag(false);
  Include(true, false, nullptr);
  EXPECT_TRUE(Pass());
  EXPECT_THAT(GatheredAlerts(), ElementsAre("snmp"));
}

TEST_F(EdaFilter, ArgumentsReachTheStatement) {
  WKEDAFilterStatement& statement = Include(false, false, nullptr);
  statement.SetAllUserFlag(false);
  statement.AddUser(Text("admin"));
  EXPECT_TRUE(Pass());
  Event other;
  other.user = "bob";
  EXPECT_FALSE(Passes(*filter_, other));
}

TEST_F(EdaFilter, NullUserOrObjectDoesNotPass) {
  Include(false, false, nullptr);
  Event event;
  event.user.reset();
  EXPECT_FALSE(Passes(*filter_, event));
  event = Event();
  event.object.reset();
  EXPECT_FALSE(Passes(*filter_, event));
}

TEST_F(EdaFilter, StatementWithoutAlertsGathersNone) {
  Include(false, false, nullptr);
  EXPECT_TRUE(Pass());
  EXPECT_THAT(GatheredAlerts(), IsEmpty());
}

TEST_F(EdaFilter, TrapAndSyslogEntryOnceMailForEachStatement) {
  Include(true, true, "first");
  Include(true, false, "second");
  EXPECT_TRUE(Pass());
  EXPECT_THAT(GatheredAlerts(), ElementsAre("snmp", "syslog", "mail first", "mail second"));
}

TEST_F(EdaFilter, AlertsStandInStatementOrder) {
  Include(false, false, "first");
  Include(false, true, nullptr);
  Include(true, true, "third");
  Include(true, true, nullptr);
  EXPECT_TRUE(Pass());
  EXPECT_THAT(GatheredAlerts(), ElementsAre("mail first", "syslog", "snmp", "mail third"));
}

TEST_F(EdaFilter, OnlyCoveringStatementsAddTheirAlerts) {
  OnlyClass(Include(true, false, "groups"), "Group");
  OnlyClass(Include(false, true, "users"), "User");
  EXPECT_TRUE(Pass("User"));
  EXPECT_THAT(GatheredAlerts(), ElementsAre("syslog", "mail users"));
  EXPECT_TRUE(Pass("Group"));
  EXPECT_THAT(GatheredAlerts(), ElementsAre("snmp", "mail groups"));
}

TEST_F(EdaFilter, MailCarriesACloneOfItsStatementsSettings) {
  WKEDAFilterStatement& statement = Include(false, false, "to");
  statement.SetFrom(Text("from"));
  statement.SetCC(Text("cc"));
  statement.SetSubject(Text("subject"));
  EXPECT_TRUE(Pass());
  statement.SetSubject(Text("changed"));
  WKSMTPAlertObject* const mail =
      Objects<AlertWrapper>(filter_->alerts).front()->GetSMTPAlertInfo();
  EXPECT_NE(&statement.smtpAlert, mail);
  EXPECT_STREQ("from", mail->GetFrom());
  EXPECT_STREQ("cc", mail->GetCC());
  EXPECT_STREQ("subject", mail->GetSubject());
}

TEST_F(EdaFilter, MailWithoutRecipientsIsGatheredByItsFlag) {
  Include(false, false, nullptr).SetSMTPAlert(true);
  EXPECT_TRUE(Pass());
  EXPECT_THAT(GatheredAlerts(), ElementsAre("mail (nobody)"));
}

TEST_F(EdaFilter, RecipientsWithoutTheFlagRaiseNoMail) {
  Include(true, false, "ops").SetSMTPAlert(false);
  EXPECT_TRUE(Pass());
  EXPECT_THAT(GatheredAlerts(), ElementsAre("snmp"));
}

TEST_F(EdaFilter, ExcludeBeforeIncludeRejects) {
  Exclude();
  Include(true, true, "ops");
  EXPECT_FALSE(Pass());
  EXPECT_THAT(GatheredAlerts(), IsEmpty());
}

TEST_F(EdaFilter, ExcludeAfterIncludeRejectsAndEmptiesTheAlerts) {
  Include(true, true, "ops");
  Exclude();
  EXPECT_FALSE(Pass());
  EXPECT_THAT(GatheredAlerts(), IsEmpty());
}

TEST_F(EdaFilter, AlertsOfAnExcludeStatementAreNotGathered) {
  WKEDAFilterStatement& statement = Exclude();
  statement.SetSNMPAlert(true);
  statement.SetSMTPAlert(true);
  EXPECT_FALSE(Pass());
  EXPECT_THAT(GatheredAlerts(), IsEmpty());
}

TEST_F(EdaFilter, UncoveringExcludeChangesNothing) {
  Include(true, false, nullptr);
  OnlyClass(Exclude(), "Group");
  EXPECT_TRUE(Pass("User"));
  EXPECT_THAT(GatheredAlerts(), ElementsAre("snmp"));
  EXPECT_FALSE(Pass("Group"));
}

TEST_F(EdaFilter, ExcludeAlertFirstSuppressesAllLaterAlerts) {
  Include(true, true, "a").SetExcludeAlert(true);
  Include(true, true, "b");
  EXPECT_TRUE(Pass());
  EXPECT_THAT(GatheredAlerts(), IsEmpty());
  EXPECT_TRUE(filter_->alertsExcluded);
}

TEST_F(EdaFilter, ExcludeAlertInTheMiddleSuppressesEarlierAndLaterAlerts) {
  Include(true, true, "a");
  Include(false, false, nullptr).SetExcludeAlert(true);
  Include(true, true, "b");
  EXPECT_TRUE(Pass());
  EXPECT_THAT(GatheredAlerts(), IsEmpty());
}

TEST_F(EdaFilter, ExcludeAlertLastSuppressesEarlierAlerts) {
  Include(true, true, "a");
  Include(true, true, "b").SetExcludeAlert(true);
  EXPECT_TRUE(Pass());
  EXPECT_THAT(GatheredAlerts(), IsEmpty());
}

TEST_F(EdaFilter, ExcludeAlertAloneLetsTheEventPass) {
  Include(false, false, nullptr).SetExcludeAlert(true);
  EXPECT_TRUE(Pass());
  EXPECT_THAT(GatheredAlerts(), IsEmpty());
}

TEST_F(EdaFilter, UncoveringExcludeAlertSuppressesNothing) {
  WKEDAFilterStatement& quiet = Include(false, false, nullptr);
  quiet.SetExcludeAlert(true);
  OnlyClass(quiet, "Group");
  Include(true, false, nullptr);
  EXPECT_TRUE(Pass("User"));
  EXPECT_THAT(GatheredAlerts(), ElementsAre("snmp"));
  EXPECT_FALSE(filter_->alertsExcluded);
}

TEST_F(EdaFilter, ExcludeAfterExcludeAlertRejects) {
  Include(true, true, "a").SetExcludeAlert(true);
  Exclude();
  EXPECT_FALSE(Pass());
  EXPECT_THAT(GatheredAlerts(), IsEmpty());
}

TEST_F(EdaFilter, ExcludeStatementWithExcludeAlertRejects) {
  Include(true, false, nullptr);
  Exclude().SetExcludeAlert(true);
  EXPECT_FALSE(Pass());
  EXPECT_FALSE(filter_->alertsExcluded);
}

TEST_F(EdaFilter, SecondDecisionGathersAnew) {
  Include(true, true, "ops");
  EXPECT_TRUE(Pass());
  EXPECT_TRUE(Pass());
  EXPECT_THAT(GatheredAlerts(), ElementsAre("snmp", "syslog", "mail ops"));
}

TEST_F(EdaFilter, SecondDecisionThatFailsLeavesNoAlerts) {
  OnlyClass(Include(true, true, "ops"), "User");
  EXPECT_TRUE(Pass("User"));
  EXPECT_FALSE(Pass("Group"));
  EXPECT_THAT(GatheredAlerts(), IsEmpty());
}

TEST_F(EdaFilter, SuppressionLastsForOneDecision) {
  WKEDAFilterStatement& quiet = Include(false, false, nullptr);
  quiet.SetExcludeAlert(true);
  OnlyClass(quiet, "Group");
  Include(true, false, nullptr);
  EXPECT_TRUE(Pass("Group"));
  EXPECT_TRUE(filter_->alertsExcluded);
  EXPECT_TRUE(Pass("User"));
  EXPECT_FALSE(filter_->alertsExcluded);
  EXPECT_THAT(GatheredAlerts(), ElementsAre("snmp"));
}

TEST_F(EdaFilter, OperationCodesOutOfRangePassOnlyAllOperations) {
  WKEDAFilterStatement& statement = Include(false, false, nullptr);
  Event event;
  for (const int code : {INT_MIN, 0, 20000, 20017, INT_MAX}) {
    event.operation = code;
    statement.SetAllOpsFlag(true);
    EXPECT_TRUE(Passes(*filter_, event)) << code;
    statement.SetAllOpsFlag(false);
    EXPECT_FALSE(Passes(*filter_, event)) << code;
  }
}

TEST_F(EdaFilter, PrintFilterPrintsEveryStatementInOrder) {
  std::string expected;
  for (const char* name : {"first", "second"}) {
    WKEDAFilterStatement& statement = Include(true, false, name);
    statement.SetTitle(Text(name));
    ::testing::internal::CaptureStdout();
    statement.PrintfFilter();
    expected += ::testing::internal::GetCapturedStdout();
  }
  ::testing::internal::CaptureStdout();
  filter_->PrintFilter();
  EXPECT_EQ(expected, ::testing::internal::GetCapturedStdout());
  EXPECT_THAT(expected, StartsWith("Start of Statement\nTitle = first\n"));
}

TEST_F(EdaFilter, PrintFilterOfNoStatementsPrintsNothing) {
  ::testing::internal::CaptureStdout();
  filter_->PrintFilter();
  EXPECT_EQ("", ::testing::internal::GetCapturedStdout());
}

}  // namespace
}  // namespace wkagent::test
