#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_support.h"
#include "support/log_recorder.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FilterStatement : public ::testing::Test {
 protected:
  // Covers every user and node at any time.
  void CoverAll() {
    statement_.SetEnableFlag(true);
    statement_.SetAllDayFlag(true);
    statement_.SetAllUserFlag(true);
    statement_.SetAllNodeFlag(true);
  }

  bool Passes(std::optional<std::string> user, std::optional<std::string> node) {
    return statement_.PassStatement(OptionalText(std::move(user)), OptionalText(std::move(node)));
  }

  WKFilterStatement statement_;
};

TEST_F(FilterStatement, StartsWithEveryFlagOff) {
  EXPECT_FALSE(statement_.enabled);
  EXPECT_FALSE(statement_.include);
  EXPECT_FALSE(statement_.allDay);
  EXPECT_FALSE(statement_.allUsers);
  EXPECT_FALSE(statement_.allNodes);
  EXPECT_FALSE(statement_.excludeAlert);
}

TEST_F(FilterStatement, StartsWithoutTitleTimesNamesAndCallback) {
  EXPECT_EQ(nullptr, statement_.title.Get());
  EXPECT_EQ(0, statement_.startTime);
  EXPECT_EQ(0, statement_.endTime);
  EXPECT_EQ(0, statement_.users.GetCount());
  EXPECT_EQ(0, statement_.nodes.GetCount());
  EXPECT_EQ(nullptr, statement_.logCallback);
}

TEST_F(FilterStatement, StartsWithInactiveAlerts) {
  EXPECT_FALSE(statement_.IsSMTPAlertSet());
  EXPECT_FALSE(statement_.IsSNMPAlertSet());
  EXPECT_FALSE(statement_.IsSyslogAlertSet());
  EXPECT_FALSE(statement_.IsAlertActive());
  EXPECT_EQ(nullptr, statement_.smtpAlert.GetTo());
  EXPECT_EQ(nullptr, statement_.smtpAlert.GetCC());
  EXPECT_EQ(nullptr, statement_.smtpAlert.GetFrom());
  EXPECT_EQ(nullptr, statement_.smtpAlert.GetSubject());
}

TEST_F(FilterStatement, AlertSettingsBearTheirKinds) {
  EXPECT_EQ(1, statement_.smtpAlert.alertType);
  EXPECT_EQ(2, statement_.snmpAlert.alertType);
  EXPECT_EQ(3, statement_.syslogAlert.alertType);
}

struct FlagSetter {
  const char* name;
  void (WKFilterStatement::*set)(bool);
  bool WKFilterStatement::*flag;
};

constexpr FlagSetter kFlagSetters[] = {
    {"SetEnableFlag", &WKFilterStatement::SetEnableFlag, &WKFilterStatement::enabled},
    {"SetIncExFlag", &WKFilterStatement::SetIncExFlag, &WKFilterStatement::include},
    {"SetAllDayFlag", &WKFilterStatement::SetAllDayFlag, &WKFilterStatement::allDay},
    {"SetAllUserFlag", &WKFilterStatement::SetAllUserFlag, &WKFilterStatement::allUsers},
    {"SetAllNodeFlag", &WKFilterStatement::SetAllNodeFlag, &WKFilterStatement::allNodes},
    {"SetExcludeAlert", &WKFilterStatement::SetExcludeAlert, &WKFilterStatement::excludeAlert},
};

TEST_F(FilterStatement, EachFlagSetterStoresItsFlagAlone) {
  for (const FlagSetter& setter : kFlagSetters) {
    SCOPED_TRACE(setter.name);
    (statement_.*setter.set)(true);
    for (const FlagSetter& other : kFlagSetters) {
      EXPECT_EQ(other.flag == setter.flag, statement_.*other.flag) << other.name;
    }
    (statement_.*setter.set)(false);
    EXPECT_FALSE(statement_.*setter.flag);
  }
}

TEST_F(FilterStatement, QueriesAnswerForTheirFlags) {
  statement_.SetEnableFlag(true);
  statement_.SetExcludeAlert(true);
  EXPECT_TRUE(statement_.IsEnabled());
  EXPECT_TRUE(statement_.IsExcludeAlert());
  statement_.SetEnableFlag(false);
  statement_.SetExcludeAlert(false);
  EXPECT_FALSE(statement_.IsEnabled());
  EXPECT_FALSE(statement_.IsExcludeAlert());
}

TEST_F(FilterStatement, WhatDoesNotIncludeExcludes) {
  EXPECT_TRUE(statement_.IsExcluded());
  statement_.SetIncExFlag(true);
  EXPECT_FALSE(statement_.IsExcluded());
  statement_.SetIncExFlag(false);
  EXPECT_TRUE(statement_.IsExcluded());
}

TEST_F(FilterStatement, TitleIsCopied) {
  std::string title = "night shift";
  statement_.SetTitle(title.data());
  title = "day shift!!";
  EXPECT_STREQ("night shift", statement_.title);
}

TEST_F(FilterStatement, TitleIsReplacedAndMayBeItsOwnText) {
  statement_.SetTitle(Text("first"));
  statement_.SetTitle(Text("a longer second"));
  EXPECT_STREQ("a longer second", statement_.title);
  statement_.SetTitle(statement_.title);
  EXPECT_STREQ("a longer second", statement_.title);
}

TEST_F(FilterStatement, NullTitleIsIgnored) {
  statement_.SetTitle(Text("first"));
  statement_.SetTitle(nullptr);
  EXPECT_STREQ("first", statement_.title);
}

TEST_F(FilterStatement, ClearTitleForgetsTheTitle) {
  statement_.SetTitle(Text("first"));
  statement_.ClearTitle();
  EXPECT_EQ(nullptr, statement_.title.Get());
  statement_.ClearTitle();
  EXPECT_EQ(nullptr, statement_.title.Get());
}

TEST_F(FilterStatement, MailTextsGoToTheMailSettings) {
  statement_.SetTo(Text("to"));
  statement_.SetCC(Text("cc"));
  statement_.SetFrom(Text("from"));
  statement_.SetSubject(Text("subject"));
  EXPECT_STREQ("to", statement_.smtpAlert.GetTo());
  EXPECT_STREQ("cc", statement_.smtpAlert.GetCC());
  EXPECT_STREQ("from", statement_.smtpAlert.GetFrom());
  EXPECT_STREQ("subject", statement_.smtpAlert.GetSubject());
  EXPECT_FALSE(statement_.IsSMTPAlertSet());
}

TEST_F(FilterStatement, EachAlertSetterSwitchesItsAlertAlone) {
  for (int kinds = 0; kinds < 8; ++kinds) {
    const bool mail = (kinds & 1) != 0;
    const bool trap = (kinds & 2) != 0;
    const bool syslog = (kinds & 4) != 0;
    statement_.SetSMTPAlert(mail);
    statement_.SetSNMPAlert(trap);
    statement_.SetSyslogAlert(syslog);
    EXPECT_EQ(mail, statement_.IsSMTPAlertSet());
    EXPECT_EQ(trap, statement_.IsSNMPAlertSet());
    EXPECT_EQ(syslog, statement_.IsSyslogAlertSet());
    EXPECT_EQ(kinds != 0, statement_.IsAlertActive());
  }
}

TEST_F(FilterStatement, MailDataIsACloneOfItsOwn) {
  statement_.InitializeLogMessage(&LogRecorder::Callback);
  statement_.smtpAlert.InitializeLogMessage(&LogRecorder::Callback);
  statement_.SetTo(Text("to"));
  statement_.SetSubject(Text("subject"));
  const std::unique_ptr<WKSMTPAlertObject> clone(statement_.GetSMTPData());
  statement_.SetTo(Text("another"));
  EXPECT_STREQ("to", clone->GetTo());
  EXPECT_STREQ("subject", clone->GetSubject());
  EXPECT_EQ(nullptr, clone->GetCC());
  EXPECT_EQ(&LogRecorder::Callback, clone->logCallback);
}

TEST_F(FilterStatement, CloneIsActiveByItsRecipientsNotByTheFlag) {
  statement_.SetTo(Text("to"));
  statement_.SetSMTPAlert(false);
  EXPECT_TRUE(std::unique_ptr<WKSMTPAlertObject>(statement_.GetSMTPData())->IsSMTPAlertActive());
  WKFilterStatement nobody;
  nobody.SetSMTPAlert(true);
  EXPECT_FALSE(std::unique_ptr<WKSMTPAlertObject>(nobody.GetSMTPData())->IsSMTPAlertActive());
}

TEST_F(FilterStatement, UsersAreConvertedInPlaceAndStoredWithoutTerminator) {
  std::string name = "cn=admin,o=acme";
  statement_.AddUser(name.data());
  statement_.AddUser(Text("bob.acme"));
  EXPECT_STREQ("admin.acme", name.c_str());
  EXPECT_THAT(Entries(statement_.users), ElementsAre("admin.acme", "bob.acme"));
}

TEST_F(FilterStatement, NodesAreStoredUnchanged) {
  statement_.AddNode(Text("CN=host,O=acme"));
  statement_.AddNode(Text("10.0.0.1"));
  EXPECT_THAT(Entries(statement_.nodes), ElementsAre("CN=host,O=acme", "10.0.0.1"));
}

TEST_F(FilterStatement, SameNameIsStoredTwice) {
  statement_.AddUser(Text("bob"));
  statement_.AddUser(Text("bob"));
  EXPECT_THAT(Entries(statement_.users), ElementsAre("bob", "bob"));
}

TEST_F(FilterStatement, NullNamesAreIgnored) {
  statement_.AddUser(nullptr);
  statement_.AddNode(nullptr);
  EXPECT_THAT(Entries(statement_.users), IsEmpty());
  EXPECT_THAT(Entries(statement_.nodes), IsEmpty());
}

TEST_F(FilterStatement, EmptyNameIsAnEntryThatMatchesEveryName) {
  statement_.AddUser(Text(""));
  EXPECT_THAT(Entries(statement_.users), ElementsAre(""));
  EXPECT_TRUE(statement_.PassUserCheck(Text("anybody")));
  EXPECT_FALSE(statement_.PassUserCheck(nullptr));
}

TEST_F(FilterStatement, DisabledStatementNeverPasses) {
  CoverAll();
  EXPECT_TRUE(Passes("bob", "node"));
  statement_.SetEnableFlag(false);
  EXPECT_FALSE(Passes("bob", "node"));
}

TEST_F(FilterStatement, EmptyUserListLetsNobodyPass) {
  CoverAll();
  statement_.SetAllUserFlag(false);
  EXPECT_FALSE(Passes("bob", "node"));
  EXPECT_FALSE(Passes("", "node"));
}

TEST_F(FilterStatement, EmptyNodeListLetsNoNodePass) {
  CoverAll();
  statement_.SetAllNodeFlag(false);
  EXPECT_FALSE(Passes("bob", "node"));
}

TEST_F(FilterStatement, ConvertedUserMatchesAnywhereWhateverTheCase) {
  CoverAll();
  statement_.SetAllUserFlag(false);
  statement_.AddUser(Text("cn=admin,o=acme"));
  EXPECT_TRUE(Passes("ADMIN.ACME.TREE", "node"));
  EXPECT_FALSE(Passes("ADMIN.SALES.ACME", "node"));
}

TEST_F(FilterStatement, NodeListRestrictsByNode) {
  CoverAll();
  statement_.SetAllNodeFlag(false);
  statement_.AddNode(Text("10.0.0."));
  EXPECT_TRUE(Passes("bob", "10.0.0.17"));
  EXPECT_FALSE(Passes("bob", "10.0.1.17"));
}

TEST_F(FilterStatement, NullNamesPassOnlyWhereNothingRestricts) {
  CoverAll();
  EXPECT_TRUE(Passes(std::nullopt, std::nullopt));
  statement_.SetAllUserFlag(false);
  statement_.AddUser(Text(""));
  EXPECT_FALSE(Passes(std::nullopt, "node"));
  statement_.SetAllUserFlag(true);
  statement_.SetAllNodeFlag(false);
  statement_.AddNode(Text(""));
  EXPECT_FALSE(Passes("bob", std::nullopt));
}

TEST_F(FilterStatement, ClosedTimeWindowStopsAStatementThatIsNotForAllDay) {
  CoverAll();
  SetWindow(statement_, time(nullptr), -3600, 3600);
  EXPECT_TRUE(Passes("bob", "node"));
  statement_.SetAllDayFlag(false);
  EXPECT_FALSE(Passes("bob", "node"));
  SetWindow(statement_, time(nullptr), 3600, -3600);
  EXPECT_TRUE(Passes("bob", "node"));
}

// Every step of the decision, told by which lists it has searched: a search for the one entry of a
// list leaves the cursor at the end.
class FilterStatementSteps : public FilterStatement {
 protected:
  FilterStatementSteps() {
    statement_.SetEnableFlag(true);
    statement_.SetAllDayFlag(true);
    statement_.AddUser(Text("bob"));
    statement_.AddNode(Text("node"));
  }
  bool UsersSearched() { return statement_.users.IsEndOfList(); }
  bool NodesSearched() { return statement_.nodes.IsEndOfList(); }
};

TEST_F(FilterStatementSteps, AllStepsPass) {
  EXPECT_TRUE(Passes("bob", "node"));
  EXPECT_TRUE(UsersSearched() && NodesSearched());
}

TEST_F(FilterStatementSteps, DisabledSearchesNothing) {
  statement_.SetEnableFlag(false);
  EXPECT_FALSE(Passes("bob", "node"));
  EXPECT_FALSE(UsersSearched() || NodesSearched());
}

TEST_F(FilterStatementSteps, ClosedWindowSearchesNothing) {
  statement_.SetAllDayFlag(false);
  EXPECT_FALSE(Passes("bob", "node"));
  EXPECT_FALSE(UsersSearched() || NodesSearched());
}

TEST_F(FilterStatementSteps, UncoveredUserLeavesNodesUnsearched) {
  EXPECT_FALSE(Passes("ann", "node"));
  EXPECT_TRUE(UsersSearched());
  EXPECT_FALSE(NodesSearched());
}

TEST_F(FilterStatementSteps, AllUsersAndAllNodesLeaveTheListsUnsearched) {
  statement_.SetAllUserFlag(true);
  statement_.SetAllNodeFlag(true);
  EXPECT_TRUE(Passes("ann", "other"));
  EXPECT_FALSE(UsersSearched() || NodesSearched());
}

TEST_F(FilterStatement, ListChecksSearchTheirOwnList) {
  statement_.AddUser(Text("bob"));
  statement_.AddNode(Text("node"));
  EXPECT_TRUE(statement_.PassUserCheck(Text("Bob.Acme")));
  EXPECT_FALSE(statement_.PassUserCheck(Text("node")));
  EXPECT_TRUE(statement_.PassNodeCheck(Text("NODE1")));
  EXPECT_FALSE(statement_.PassNodeCheck(Text("bob")));
}

TEST_F(FilterStatement, EntityMatchIsASubstringTestWithoutCase) {
  CLinkList list;
  AddBlock(list, "bob");
  EXPECT_TRUE(statement_.EntityMatch(Text("Bob.Acme"), list));
  EXPECT_TRUE(statement_.EntityMatch(Text("Bobby"), list));
  EXPECT_FALSE(statement_.EntityMatch(Text("Robert"), list));
  EXPECT_FALSE(statement_.EntityMatch(nullptr, list));
}

TEST_F(FilterStatement, EntityMatchNeverMatchesNull) {
  CLinkList list;
  AddBlock(list, "");
  EXPECT_TRUE(statement_.EntityMatch(Text(""), list));
  EXPECT_FALSE(statement_.EntityMatch(nullptr, list));
}

TEST_F(FilterStatement, EntityMatchLeavesTheValueAsItWas) {
  CLinkList list;
  AddBlock(list, "BOB");
  std::string value = "Bob.Acme";
  EXPECT_TRUE(statement_.EntityMatch(value.data(), list));
  EXPECT_EQ("Bob.Acme", value);
  EXPECT_THAT(Entries(list), ElementsAre("BOB"));
}

TEST_F(FilterStatement, UserAfterALongerOneIsLookedForWithItsRest) {
  statement_.AddUser(Text("ADMIN.SALES"));
  statement_.AddUser(Text("BOB"));
  EXPECT_FALSE(statement_.PassUserCheck(Text("bob")));
  EXPECT_TRUE(statement_.PassUserCheck(Text("bobin.sales")));
}

TEST_F(FilterStatement, ConvertToNDAPFormatConvertsCommaForm) {
  std::string name = "CN=admin,OU=sales,O=acme";
  EXPECT_EQ(name.data(), statement_.ConvertToNDAPFormat(name.data()));
  EXPECT_STREQ("admin.sales.acme", name.c_str());
}

TEST_F(FilterStatement, ConvertToNDAPFormatReturnsNullForAPlainName) {
  std::string name = "admin";
  EXPECT_EQ(nullptr, statement_.ConvertToNDAPFormat(name.data()));
  EXPECT_EQ("admin", name);
  EXPECT_EQ(nullptr, statement_.ConvertToNDAPFormat(nullptr));
}

TEST_F(FilterStatement, ConvertToNDAPFormatDropsAPartWithoutType) {
  std::string name = "CN=a,b,O=c";
  EXPECT_EQ(name.data(), statement_.ConvertToNDAPFormat(name.data()));
  EXPECT_STREQ("a.c", name.c_str());
}

TEST_F(FilterStatement, ReleaseOwnedLeavesNothingBehind) {
  statement_.SetTitle(Text("title"));
  statement_.AddUser(Text("bob"));
  statement_.AddNode(Text("node"));
  statement_.SetTo(Text("to"));
  statement_.SetSubject(Text("subject"));
  statement_.snmpAlert.SetAlertMessage(Text("trap"));
  statement_.ReleaseOwned();
  statement_.ReleaseOwned();
  EXPECT_EQ(nullptr, statement_.title.Get());
  EXPECT_EQ(0, statement_.users.GetCount() + statement_.nodes.GetCount());
  EXPECT_EQ(nullptr, statement_.smtpAlert.GetTo());
  EXPECT_EQ(nullptr, statement_.smtpAlert.GetSubject());
  EXPECT_EQ(nullptr, statement_.snmpAlert.alertMessage.Get());
}

TEST_F(FilterStatement, StatementIsUsableAfterReleaseOwned) {
  statement_.AddUser(Text("ann"));
  statement_.ReleaseOwned();
  CoverAll();
  statement_.SetAllUserFlag(false);
  statement_.AddUser(Text("bob"));
  EXPECT_TRUE(Passes("bob", "node"));
  EXPECT_FALSE(Passes("ann", "node"));
}

}  // namespace
}  // namespace wkagent::test
