#include "agent/access_log_events.h"

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/auditlog_fixture.h"
#include "agent/feed_recorder.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

using Values = std::initializer_list<std::pair<const char*, std::string>>;

AccessLogEntry Entry(const std::string& type, Values values, const std::string& result = "0") {
  AccessLogEntry entry;
  entry.Add("reqType", type);
  entry.Add("reqResult", result);
  entry.Add("reqStart", "20261120204603.000012Z");
  for (const auto& [attribute, value] : values) entry.Add(attribute, value);
  return entry;
}

class AccessLogEvents : public ::testing::Test {
 protected:
  // What the entry is refused with; empty when it was taken.
  std::string Take(const AccessLogEntry& entry) {
    wkagent::AccessLogEvents events(found_, "dir1", "ACME");
    return events.Take(entry);
  }

  // The changes that an entry that is taken gives, in short.
  std::vector<std::string> Changes(const AccessLogEntry& entry) {
    EXPECT_EQ("", Take(entry));
    return test::Changes(found_);
  }

  FeedRecorder found_;
};

TEST_F(AccessLogEvents, ABindIsALogin) {
  Take(Entry("bind", {{"reqDN", "cn=bob,o=acme"}, {"reqMethod", "SIMPLE"}, {"reqAuthzID", ""}}));
  ASSERT_THAT(found_.events, SizeIs(1));
  Event login;
  login.code = 21001;
  login.time = kWhen;
  login.user = "bob.acme";
  login.server = "dir1";
  login.tree = "ACME";
  EXPECT_EQ(login, found_.events[0]);
}

TEST_F(AccessLogEvents, AFailedBindIsALoginWithItsResultAsStatus) {
  Take(Entry("bind", {{"reqDN", "cn=bob,o=acme"}}, "49"));
  ASSERT_THAT(found_.events, SizeIs(1));
  EXPECT_EQ(21001, found_.events[0].code);
  EXPECT_EQ(49, found_.events[0].status);
}

TEST_F(AccessLogEvents, ASaslLoginHasTheNameThatCameOfIt) {
  Take(Entry("bind", {{"reqDN", ""}, {"reqAuthzID", "cn=bob,o=acme"}}));
  ASSERT_THAT(found_.events, SizeIs(1));
  EXPECT_EQ("bob.acme", found_.events[0].user);
}

TEST_F(AccessLogEvents, ABindThatGoesOnIsNoLoginYet) {
  Take(Entry("bind", {{"reqDN", ""}}, "14"));
  EXPECT_THAT(found_.events, IsEmpty());
}

TEST_F(AccessLogEvents, AnAnonymousBindIsALoginWithoutName) {
  Take(Entry("bind", {{"reqDN", ""}, {"reqAuthzID", ""}}));
  ASSERT_THAT(found_.events, SizeIs(1));
  EXPECT_EQ("", found_.events[0].user);
}

TEST_F(AccessLogEvents, AnUnbindIsALogoutOfTheSessionsUser) {
  Take(Entry("unbind", {{"reqAuthzID", "cn=bob,o=acme"}}));
  ASSERT_THAT(found_.events, SizeIs(1));
  EXPECT_EQ(21002, found_.events[0].code);
  EXPECT_EQ("bob.acme", found_.events[0].user);
}

TEST_F(AccessLogEvents, AnAddedEntryRaisesOneEventAndOneForEachValue) {
  const AccessLogEntry entry =
      Entry("add", {{"reqDN", "cn=bob,o=acme"},
                    {"reqAuthzID", "cn=admin,o=acme"},
                    {"reqMod", "objectClass:+ person"},
                    {"reqMod", "cn:+ bob"},
                    {"reqMod", "structuralObjectClass:+ person"},
                    {"reqMod", "entryCSN:+ 20261120204603.000012Z#000000#000#000000"}});
  EXPECT_THAT(Changes(entry), ElementsAre("20001 bob.acme", "20005 bob.acme objectClass=person",
                                          "20005 bob.acme cn=bob"));
  EXPECT_EQ("person", found_.events[0].class1);
  EXPECT_EQ("admin.acme", found_.events[0].user);
  EXPECT_EQ(kWhen, found_.events[0].time);
}

TEST_F(AccessLogEvents, AModificationRaisesOneEventForEachValue) {
  const AccessLogEntry entry = Entry("modify", {{"reqDN", "cn=bob,o=acme"},
                                                {"reqMod", "description:= a"},
                                                {"reqMod", "description:= b"},
                                                {"reqMod", ":"},
                                                {"reqMod", "l:+ Bonn"},
                                                {"reqMod", "l:- Ulm"},
                                                {"reqMod", "uidNumber:# 1"},
                                                {"reqMod", "title:-"},
                                                {"reqMod", "mail:="}});
  EXPECT_THAT(Changes(entry), ElementsAre("20005 bob.acme description=a",
                                          "20005 bob.acme description=b", "20005 bob.acme l=Bonn",
                                          "20006 bob.acme l=Ulm", "20005 bob.acme uidNumber=1",
                                          "20006 bob.acme title=", "20006 bob.acme mail="));
}

TEST_F(AccessLogEvents, ValuesKeepBlanksAndColons) {
  const AccessLogEntry entry =
      Entry("modify", {{"reqDN", "o=acme"}, {"reqMod", "description:=  a: b "}});
  EXPECT_THAT(Changes(entry), ElementsAre("20005 acme description= a: b "));
}

TEST_F(AccessLogEvents, BinaryValuesAreWrittenAsBase64) {
  const AccessLogEntry entry =
      Entry("modify", {{"reqDN", "o=acme"}, {"reqMod", std::string("photo:+ \xFF\x00z", 11)}});
  EXPECT_THAT(Changes(entry), ElementsAre("20005 acme photo=/wB6"));
}

TEST_F(AccessLogEvents, PasswordsAreWrittenNowhere) {
  const AccessLogEntry entry =
      Entry("modify", {{"reqDN", "cn=bob,o=acme"}, {"reqMod", "userPassword:= Geheim7"}});
  EXPECT_THAT(Changes(entry), ElementsAre("20007 bob.acme userPassword="));
  EXPECT_THAT(found_.Everything(), Not(HasSubstr("Geheim7")));
}

TEST_F(AccessLogEvents, MembershipsNameTheirMember) {
  const AccessLogEntry entry =
      Entry("modify", {{"reqDN", "cn=staff,o=acme"}, {"reqMod", "member:+ cn=bob,ou=it,o=acme"}});
  EXPECT_THAT(Changes(entry),
              ElementsAre("20008 staff.acme member=cn=bob,ou=it,o=acme -> bob.it.acme"));
}

TEST_F(AccessLogEvents, ADeletedEntryRaisesOneEvent) {
  EXPECT_THAT(Changes(Entry("delete", {{"reqDN", "cn=bob,o=acme"}})),
              ElementsAre("20002 bob.acme"));
}

TEST_F(AccessLogEvents, ARenameKeepsTheParent) {
  const AccessLogEntry entry =
      Entry("modrdn", {{"reqDN", "cn=bob,o=acme"}, {"reqNewRDN", "cn=ann"}});
  EXPECT_THAT(Changes(entry), ElementsAre("20003 bob.acme -> ann.acme"));
}

TEST_F(AccessLogEvents, AMoveHasAnotherParent) {
  const AccessLogEntry entry = Entry(
      "modrdn",
      {{"reqDN", "cn=bob,o=acme"}, {"reqNewRDN", "cn=bob"}, {"reqNewSuperior", "ou=it,o=acme"}});
  EXPECT_THAT(Changes(entry), ElementsAre("20004 bob.acme -> bob.it.acme"));
}

TEST_F(AccessLogEvents, WhatFailedHasChangedNothing) {
  for (const char* type : {"add", "modify", "delete", "modrdn"}) {
    const AccessLogEntry entry =
        Entry(type, {{"reqDN", "o=acme"}, {"reqMod", "l:+ x"}, {"reqNewRDN", "o=b"}}, "50");
    EXPECT_THAT(Changes(entry), IsEmpty()) << type;
  }
}

TEST_F(AccessLogEvents, OtherOperationsRaiseNothing) {
  for (const char* type : {"search", "compare", "abandon", "extended", ""}) {
    EXPECT_THAT(Changes(Entry(type, {{"reqDN", "o=acme"}})), IsEmpty()) << type;
  }
}

TEST_F(AccessLogEvents, WhatIsNotUnderstoodIsReportedWithoutItsValue) {
  for (const char* text : {"", "secret", "l", "l:", ":+ secret", "l:? secret", "l:secret"}) {
    const std::string reason = Take(Entry("modify", {{"reqDN", "o=acme"}, {"reqMod", text}}));
    EXPECT_EQ("reqMod is not understood", reason) << text;
  }
  EXPECT_EQ("the new name is missing", Take(Entry("modrdn", {{"reqDN", "o=acme"}})));
  EXPECT_THAT(found_.events, IsEmpty());
}

TEST_F(AccessLogEvents, AttributeNamesAndTypesMayBeInAnyCase) {
  AccessLogEntry entry;
  entry.Add("REQTYPE", "DELETE");
  entry.Add("reqdn", "cn=bob,o=acme");
  EXPECT_THAT(Changes(entry), ElementsAre("20002 bob.acme"));
}

}  // namespace
}  // namespace wkagent::test
