#include <climits>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_kinds.h"
#include "filter_support.h"
#include "support/agent_home.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// Decisions of a filter on a file without statements; the tests add theirs.
template <typename Kind>
class PassFilter : public ::testing::Test {
 protected:
  using Statement = typename Kind::Statement;

  PassFilter() {
    home_.Write("config/f.xml", FilterFile(""));
    filter_ = std::make_unique<typename Kind::Filter>(Text("f.xml"));
  }

  // An include statement that covers everything and wants these alerts; `mailTo` may be null.
  Statement& Include(bool trap, bool syslog, const char* mailTo) {
    Statement& statement = AddStatement<Statement>(*filter_);
    statement.SetSNMPAlert(trap);
    statement.SetSyslogAlert(syslog);
    statement.SetSMTPAlert(mailTo != nullptr);
    if (mailTo != nullptr) statement.SetTo(Text(mailTo));
    return statement;
  }

  Statement& Exclude() {
    Statement& statement = AddStatement<Statement>(*filter_);
    statement.SetIncExFlag(false);
    return statement;
  }

  // Restricts a statement to one user.
  static void OnlyUser(Statement& statement, const char* name) {
    statement.SetAllUserFlag(false);
    statement.AddUser(Text(name));
  }

  bool Pass(const std::string& user = "admin") {
    typename Kind::Event event;
    event.user = user;
    return Passes(*filter_, event);
  }

  std::vector<std::string> GatheredAlerts() { return Alerts(*filter_); }

  AgentHome home_;
  std::unique_ptr<typename Kind::Filter> filter_;
};
TYPED_TEST_SUITE(PassFilter, FilterKinds, KindName);

TYPED_TEST(PassFilter, WithoutStatementsNothingPasses) {
  EXPECT_FALSE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), IsEmpty());
}

TYPED_TEST(PassFilter, OneCoveringIncludeStatementIsEnough) {
  this->OnlyUser(this->Include(false, false, nullptr), "bob");
  this->Include(false, false, nullptr);
  this->OnlyUser(this->Include(false, false, nullptr), "eve");
  EXPECT_TRUE(this->Pass());
}

TYPED_TEST(PassFilter, UncoveredEventDoesNotPass) {
  this->OnlyUser(this->Include(true, true, "ops"), "bob");
  EXPECT_FALSE(this->Pass("admin"));
  EXPECT_THAT(this->GatheredAlerts(), IsEmpty());
}

TYPED_TEST(PassFilter, DisabledStatementIsPassedOver) {
  this->Include(true, true, "ops").SetEnableFlag(false);
  EXPECT_FALSE(this->Pass());
  this->Exclude().SetEnableFlag(false);
  this->Include(true, false, nullptr);
  EXPECT_TRUE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), ElementsAre("snmp"));
}

TYPED_TEST(PassFilter, NullUserDoesNotPass) {
  this->Include(false, false, nullptr);
  typename TypeParam::Event event;
  event.user.reset();
  EXPECT_FALSE(Passes(*this->filter_, event));
}

TYPED_TEST(PassFilter, OperationCodesOutOfRangePassOnlyAllOperations) {
  typename TypeParam::Statement& statement = this->Include(false, false, nullptr);
  TypeParam::AddFirstOperation(statement);
  typename TypeParam::Event event;
  for (const int code : {INT_MIN, -1, 0, 1, 19999, 20000, 20017, 21000, 21003, INT_MAX}) {
    event.operation = code;
    statement.SetAllOpsFlag(true);
    EXPECT_TRUE(Passes(*this->filter_, event)) << code;
    statement.SetAllOpsFlag(false);
    EXPECT_FALSE(Passes(*this->filter_, event)) << code;
  }
}

TYPED_TEST(PassFilter, StatementWithoutAlertsGathersNone) {
  this->Include(false, false, nullptr);
  EXPECT_TRUE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), IsEmpty());
}

TYPED_TEST(PassFilter, TrapAndSyslogEntryOnceMailForEachStatement) {
  this->Include(true, true, "first");
  this->Include(true, false, "second");
  EXPECT_TRUE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), ElementsAre("snmp", "syslog", "mail first", "mail second"));
}

TYPED_TEST(PassFilter, AlertsStandInStatementOrder) {
  this->Include(false, false, "first");
  this->Include(false, true, nullptr);
  this->Include(true, true, "third");
  this->Include(true, true, nullptr);
  EXPECT_TRUE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), ElementsAre("mail first", "syslog", "snmp", "mail third"));
}

TYPED_TEST(PassFilter, OnlyCoveringStatementsAddTheirAlerts) {
  this->OnlyUser(this->Include(true, false, "bobs"), "bob");
  this->OnlyUser(this->Include(false, true, "admins"), "admin");
  EXPECT_TRUE(this->Pass("admin"));
  EXPECT_THAT(this->GatheredAlerts(), ElementsAre("syslog", "mail admins"));
  EXPECT_TRUE(this->Pass("bob"));
  EXPECT_THAT(this->GatheredAlerts(), ElementsAre("snmp", "mail bobs"));
}

TYPED_TEST(PassFilter, MailCarriesACloneOfItsStatementsSettings) {
  typename TypeParam::Statement& statement = this->Include(false, false, "to");
  statement.SetFrom(Text("from"));
  statement.SetCC(Text("cc"));
  statement.SetSubject(Text("subject"));
  EXPECT_TRUE(this->Pass());
  statement.SetSubject(Text("changed"));
  WKSMTPAlertObject* const mail =
      Objects<AlertWrapper>(this->filter_->alerts).front()->GetSMTPAlertInfo();
  EXPECT_NE(&statement.smtpAlert, mail);
  EXPECT_STREQ("from", mail->GetFrom());
  EXPECT_STREQ("cc", mail->GetCC());
  EXPECT_STREQ("subject", mail->GetSubject());
}

TYPED_TEST(PassFilter, MailWithoutRecipientsIsGatheredByItsFlag) {
  this->Include(false, false, nullptr).SetSMTPAlert(true);
  EXPECT_TRUE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), ElementsAre("mail (nobody)"));
}

TYPED_TEST(PassFilter, RecipientsWithoutTheFlagRaiseNoMail) {
  this->Include(true, false, "ops").SetSMTPAlert(false);
  EXPECT_TRUE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), ElementsAre("snmp"));
}

TYPED_TEST(PassFilter, ExcludeBeforeIncludeRejects) {
  this->Exclude();
  this->Include(true, true, "ops");
  EXPECT_FALSE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), IsEmpty());
}

TYPED_TEST(PassFilter, ExcludeAfterIncludeRejectsAndEmptiesTheAlerts) {
  this->Include(true, true, "ops");
  this->Exclude();
  EXPECT_FALSE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), IsEmpty());
}

TYPED_TEST(PassFilter, AlertsOfAnExcludeStatementAreNotGathered) {
  typename TypeParam::Statement& statement = this->Exclude();
  statement.SetSNMPAlert(true);
  statement.SetSMTPAlert(true);
  EXPECT_FALSE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), IsEmpty());
}

TYPED_TEST(PassFilter, UncoveringExcludeChangesNothing) {
  this->Include(true, false, nullptr);
  this->OnlyUser(this->Exclude(), "bob");
  EXPECT_TRUE(this->Pass("admin"));
  EXPECT_THAT(this->GatheredAlerts(), ElementsAre("snmp"));
  EXPECT_FALSE(this->Pass("bob"));
}

TYPED_TEST(PassFilter, ExcludeAlertFirstSuppressesAllLaterAlerts) {
  this->Include(true, true, "a").SetExcludeAlert(true);
  this->Include(true, true, "b");
  EXPECT_TRUE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), IsEmpty());
  EXPECT_TRUE(this->filter_->alertsExcluded);
}

TYPED_TEST(PassFilter, ExcludeAlertInTheMiddleSuppressesEarlierAndLaterAlerts) {
  this->Include(true, true, "a");
  this->Include(false, false, nullptr).SetExcludeAlert(true);
  this->Include(true, true, "b");
  EXPECT_TRUE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), IsEmpty());
}

TYPED_TEST(PassFilter, ExcludeAlertLastSuppressesEarlierAlerts) {
  this->Include(true, true, "a");
  this->Include(true, true, "b").SetExcludeAlert(true);
  EXPECT_TRUE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), IsEmpty());
}

TYPED_TEST(PassFilter, ExcludeAlertAloneLetsTheEventPass) {
  this->Include(false, false, nullptr).SetExcludeAlert(true);
  EXPECT_TRUE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), IsEmpty());
}

TYPED_TEST(PassFilter, UncoveringExcludeAlertSuppressesNothing) {
  typename TypeParam::Statement& quiet = this->Include(false, false, nullptr);
  quiet.SetExcludeAlert(true);
  this->OnlyUser(quiet, "bob");
  this->Include(true, false, nullptr);
  EXPECT_TRUE(this->Pass("admin"));
  EXPECT_THAT(this->GatheredAlerts(), ElementsAre("snmp"));
  EXPECT_FALSE(this->filter_->alertsExcluded);
}

TYPED_TEST(PassFilter, ExcludeAfterExcludeAlertRejects) {
  this->Include(true, true, "a").SetExcludeAlert(true);
  this->Exclude();
  EXPECT_FALSE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), IsEmpty());
}

TYPED_TEST(PassFilter, ExcludeStatementWithExcludeAlertRejects) {
  this->Include(true, false, nullptr);
  this->Exclude().SetExcludeAlert(true);
  EXPECT_FALSE(this->Pass());
  EXPECT_FALSE(this->filter_->alertsExcluded);
}

TYPED_TEST(PassFilter, SecondDecisionGathersAnew) {
  this->Include(true, true, "ops");
  EXPECT_TRUE(this->Pass());
  EXPECT_TRUE(this->Pass());
  EXPECT_THAT(this->GatheredAlerts(), ElementsAre("snmp", "syslog", "mail ops"));
}

TYPED_TEST(PassFilter, SecondDecisionThatFailsLeavesNoAlerts) {
  this->OnlyUser(this->Include(true, true, "ops"), "admin");
  EXPECT_TRUE(this->Pass("admin"));
  EXPECT_FALSE(this->Pass("bob"));
  EXPECT_THAT(this->GatheredAlerts(), IsEmpty());
}

TYPED_TEST(PassFilter, SuppressionLastsForOneDecision) {
  typename TypeParam::Statement& quiet = this->Include(false, false, nullptr);
  quiet.SetExcludeAlert(true);
  this->OnlyUser(quiet, "bob");
  this->Include(true, false, nullptr);
  EXPECT_TRUE(this->Pass("bob"));
  EXPECT_TRUE(this->filter_->alertsExcluded);
  EXPECT_TRUE(this->Pass("admin"));
  EXPECT_FALSE(this->filter_->alertsExcluded);
  EXPECT_THAT(this->GatheredAlerts(), ElementsAre("snmp"));
}

TYPED_TEST(PassFilter, PrintFilterPrintsEveryStatementInOrder) {
  std::string expected;
  for (const char* name : {"first", "second"}) {
    typename TypeParam::Statement& statement = this->Include(true, false, name);
    statement.SetTitle(Text(name));
    ::testing::internal::CaptureStdout();
    statement.PrintfFilter();
    expected += ::testing::internal::GetCapturedStdout();
  }
  ::testing::internal::CaptureStdout();
  this->filter_->PrintFilter();
  EXPECT_EQ(expected, ::testing::internal::GetCapturedStdout());
  EXPECT_THAT(expected, StartsWith("Start of Statement\nTitle = first\n"));
}

TYPED_TEST(PassFilter, PrintFilterOfNoStatementsPrintsNothing) {
  ::testing::internal::CaptureStdout();
  this->filter_->PrintFilter();
  EXPECT_EQ("", ::testing::internal::GetCapturedStdout());
}

}  // namespace
}  // namespace wkagent::test
