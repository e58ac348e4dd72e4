#include "agent/auditlog_feed.h"

#include <ctime>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/auditlog_fixture.h"

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::Field;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Le;
using ::testing::Not;
using ::testing::SizeIs;

// An event of the usual origin.
Event Expected(int code, const std::string& class1, const std::string& object1,
               const std::string& attribute = "", const std::string& value = "",
               const std::string& object2 = "") {
  Event event;
  event.code = static_cast<unsigned short>(code);
  event.time = kWhen;
  event.user = "admin.acme";
  event.node = "127.0.0.1";
  event.class1 = class1;
  event.object1 = object1;
  event.attribute = attribute;
  event.value = value;
  event.object2 = object2;
  event.server = "dir1";
  event.tree = "acme";
  return event;
}

TEST(AuditlogFeed, FillsEveryFieldOfEveryEvent) {
  const std::string log =
      LoggedAdd("cn=bob,ou=sales,o=acme",
                "objectClass: person\ncn: bob\nuserPassword:: c2VjcmV0\n"
                "structuralObjectClass: person\nentryUUID: 25-1a\ncreatorsName: cn=admin,o=acme\n"
                "createTimestamp: 20261120204603Z\nentryCSN: 2026#0\n"
                "modifiersName: cn=admin,o=acme\nmodifyTimestamp: 20261120204603Z\n") +
      LoggedModify("cn=staff,o=acme", "add: member\nmember: cn=bob,ou=sales,o=acme\n-\n") +
      LoggedRename("cn=bob,ou=sales,o=acme", "newrdn: cn=rob\ndeleteoldrdn: 1\n") +
      LoggedRename("cn=rob,ou=sales,o=acme",
                   "newrdn: cn=rob\ndeleteoldrdn: 0\nnewsuperior: ou=it,o=acme\n") +
      LoggedDelete("cn=rob,ou=it,o=acme");
  const FeedRecorder found = Found(log);
  EXPECT_THAT(found.malformed, IsEmpty());
  const std::string bob = "bob.sales.acme";
  const std::vector<Event> expected = {
      Expected(20001, "person", bob),
      Expected(20005, "person", bob, "objectClass", "person"),
      Expected(20005, "person", bob, "cn", "bob"),
      Expected(20007, "person", bob, "userPassword"),
      Expected(20008, "", "staff.acme", "member", "cn=bob,ou=sales,o=acme", bob),
      Expected(20003, "", bob, "", "", "rob.sales.acme"),
      Expected(20004, "", "rob.sales.acme", "", "", "rob.it.acme"),
      Expected(20002, "", "rob.it.acme"),
  };
  EXPECT_THAT(found.events, ElementsAreArray(expected));
}

// Added, deleted and renamed entries.

TEST(AuditlogFeed, AnAddedEntryIsFollowedByItsValues) {
  EXPECT_THAT(Changes(LoggedAdd("cn=bob,o=acme", "objectClass: top\nobjectClass: person\nsn: B\n")),
              ElementsAre("20001 bob.acme", "20005 bob.acme objectClass=top",
                          "20005 bob.acme objectClass=person", "20005 bob.acme sn=B"));
}

TEST(AuditlogFeed, AnAddedGroupHasMembers) {
  EXPECT_THAT(Changes(LoggedAdd("cn=g,o=acme", "uniqueMember: cn=a,o=acme\nmember: cn=b,o=acme\n")),
              ElementsAre("20001 g.acme", "20008 g.acme uniqueMember=cn=a,o=acme -> a.acme",
                          "20008 g.acme member=cn=b,o=acme -> b.acme"));
}

TEST(AuditlogFeed, ADeletedEntryIsOneEvent) {
  EXPECT_THAT(Changes(LoggedDelete("cn=bob,o=acme")), ElementsAre("20002 bob.acme"));
}

TEST(AuditlogFeed, TheClassIsTheStructuralOneOrTheLast) {
  const auto classOf = [](const std::string& lines) {
    return Found(LoggedAdd("cn=bob,o=acme", lines)).events.at(0).class1;
  };
  EXPECT_EQ("inetOrgPerson", classOf("objectClass: top\nstructuralObjectClass: inetOrgPerson\n"
                                     "objectClass: posixAccount\n"));
  EXPECT_EQ("posixAccount", classOf("OBJECTCLASS: person\nobjectclass: posixAccount\n"));
  EXPECT_EQ("", classOf("cn: bob\n"));
}

TEST(AuditlogFeed, ARenameUnderTheSameParentIsNoMove) {
  EXPECT_THAT(Changes(LoggedRename("cn=bob,ou=it,o=acme", "newrdn: cn=rob\ndeleteoldrdn: 1\n")),
              ElementsAre("20003 bob.it.acme -> rob.it.acme"));
  for (const char* const parent : {"ou=it,o=acme", "OU=IT, O=Acme"}) {
    EXPECT_THAT(Found(LoggedRename("cn=bob,ou=it,o=acme",
                                   std::string("newrdn: cn=rob\nnewsuperior: ") + parent + "\n"))
                    .Codes(),
                ElementsAre(20003));
  }
}

TEST(AuditlogFeed, AParentWrittenWithOtherEscapesIsTheSame) {
  EXPECT_THAT(Changes(LoggedRename(R"(cn=bob,o=Smith\, Inc)",
                                   "newrdn: cn=rob\nnewsuperior: o=smith\\2c inc\n")),
              ElementsAre("20003 bob.Smith, Inc -> rob.smith, inc"));
}

TEST(AuditlogFeed, AnotherParentIsAMove) {
  EXPECT_THAT(Changes(LoggedRename("cn=bob,ou=it,o=acme",
                                   "newrdn: cn=bob\ndeleteoldrdn: 0\nnewsuperior: o=acme\n")),
              ElementsAre("20004 bob.it.acme -> bob.acme"));
  EXPECT_THAT(Changes(LoggedRename("cn=bob,ou=it,o=acme", "newrdn: cn=rob\nnewsuperior:\n")),
              ElementsAre("20004 bob.it.acme -> rob"));
}

TEST(AuditlogFeed, ARootEntryCanBeRenamed) {
  EXPECT_THAT(Changes(LoggedRename("o=acme", "newrdn: o=apex\n")),
              ElementsAre("20003 acme -> apex"));
}

TEST(AuditlogFeed, ModdnIsAnotherWordForModrdn) {
  EXPECT_THAT(Changes(Logged("moddn", "dn: cn=bob,o=acme\nchangetype: moddn\nnewrdn: cn=rob\n")),
              ElementsAre("20003 bob.acme -> rob.acme"));
}

TEST(AuditlogFeed, TheNewNameOfARenamedEntryStaysWithIt) {
  EXPECT_THAT(
      Changes(LoggedRename("cn=bob,o=acme", "newrdn: cn=rob\n") +
              LoggedModify("cn=bob,o=acme", "add: sn\nsn: B\n-\n") + LoggedDelete("cn=bob,o=acme")),
      ElementsAre("20003 bob.acme -> rob.acme", "20005 bob.acme sn=B", "20002 bob.acme"));
}

TEST(AuditlogFeed, ChangetypesAndAttributesHaveNoCase) {
  EXPECT_THAT(Changes(Logged("add", "DN: cn=bob,o=acme\nChangeType: ADD\nCN: bob\n")),
              ElementsAre("20001 bob.acme", "20005 bob.acme CN=bob"));
}

TEST(AuditlogFeed, ControlsAreSkipped) {
  EXPECT_THAT(Changes("dn: cn=bob,o=acme\ncontrol: 1.2.840.113556.1.4.805 true\n"
                      "control: 1.3.6.1.1.12: x\nchangetype: delete\n\n"),
              ElementsAre("20002 bob.acme"));
}

TEST(AuditlogFeed, OperationalAttributesRaiseNoEvent) {
  const std::string operational[] = {
      "entryCSN",        "entryUUID",       "modifiersName",        "creatorsName",
      "modifyTimestamp", "createTimestamp", "structuralObjectClass"};
  std::string added;
  std::string replaced;
  for (const std::string& name : operational) {
    added += name + ": x\n";
    replaced += "replace: " + name + "\n" + name + ": x\n-\n";
  }
  EXPECT_THAT(Changes(LoggedAdd("cn=bob,o=acme", added)), ElementsAre("20001 bob.acme"));
  EXPECT_THAT(Changes(LoggedModify("cn=bob,o=acme", replaced)), IsEmpty());
}

// Who, where and when.

Event OriginOf(const std::string& origin, const std::string& lines = "") {
  const FeedRecorder found =
      Found(Logged("delete", "dn: cn=bob,o=acme\nchangetype: delete\n" + lines, origin));
  EXPECT_THAT(found.events, SizeIs(1));
  return found.events.at(0);
}

TEST(AuditlogFeed, TheOriginComesFromTheHeader) {
  const Event event =
      OriginOf("o=acme cn=John Q Smith,ou=our sales,o=acme IP=[2001:db8::1]:3 conn=9");
  EXPECT_EQ("John Q Smith.our sales.acme", event.user);
  EXPECT_EQ("2001:db8::1", event.node);
  EXPECT_EQ("acme", event.tree);
  EXPECT_EQ(kWhen, event.time);
}

TEST(AuditlogFeed, ALocalClientIsNamedByItsSocket) {
  EXPECT_EQ("/run/slapd/ldapi",
            OriginOf("o=acme cn=admin,o=acme PATH=/run/slapd/ldapi conn=9").node);
}

TEST(AuditlogFeed, AnAnonymousUserIsEmpty) {
  const Event event = OriginOf("o=acme  IP=10.0.0.1:3 conn=9");
  EXPECT_EQ("", event.user);
  EXPECT_EQ("10.0.0.1", event.node);
}

TEST(AuditlogFeed, WithoutHeaderTheRecordTellsWhoAndWhen) {
  const FeedRecorder found = Found(
      "dn: cn=bob,o=acme\nchangetype: modify\nreplace: sn\nsn: B\n-\nreplace: modifiersName\n"
      "modifiersName: cn=eve,o=acme\n-\nreplace: modifyTimestamp\n"
      "modifyTimestamp: 20261120204603Z\n-\n\n");
  Event expected = Expected(20005, "", "bob.acme", "sn", "B");
  expected.user = "eve.acme";
  expected.node = "";
  expected.tree = "";
  EXPECT_THAT(found.events, ElementsAre(expected));
}

TEST(AuditlogFeed, WithoutHeaderANewEntryTellsItsCreator) {
  const FeedRecorder found = Found(
      "dn: cn=bob,o=acme\nchangetype: add\n"
      "creatorsName: cn=eve,o=acme\n\n");
  EXPECT_THAT(found.events, ElementsAre(Field(&Event::user, "eve.acme")));
}

TEST(AuditlogFeed, WhatTellsNoTimeHappensNow) {
  const std::time_t before = std::time(nullptr);
  const FeedRecorder found = Found("dn: cn=bob,o=acme\nchangetype: delete\n\n");
  ASSERT_THAT(found.events, SizeIs(1));
  EXPECT_THAT(found.events[0].time, AllOf(Ge(before), Le(std::time(nullptr))));
  EXPECT_EQ("", found.events[0].user);
}

TEST(AuditlogFeed, NothingOfARecordsOriginStaysForTheNext) {
  const FeedRecorder found =
      Found(LoggedAdd("cn=bob,o=acme", "objectClass: person\n") +
            "dn: cn=eve,o=acme\nchangetype: modify\nreplace: modifyTimestamp\nmodifyTimestamp: "
            "20260621000000Z\n-\nadd: sn\nsn: E\n-\n\n");
  ASSERT_THAT(found.events, SizeIs(3));
  Event expected;
  expected.code = 20005;
  expected.time = 1782000000;
  expected.object1 = "eve.acme";
  expected.attribute = "sn";
  expected.value = "E";
  expected.server = "dir1";
  EXPECT_EQ(expected, found.events[2]);
}

TEST(AuditlogFeed, TheServersNameIsCutToItsField) {
  FeedRecorder found;
  AuditlogFeed feed(found, std::string(200, 's') + "\x01");
  TakeInBlocks(feed, LoggedDelete("o=acme"), 1000);
  ASSERT_THAT(found.events, SizeIs(1));
  EXPECT_EQ(std::string(127, 's'), found.events[0].server);
}

// Whole logs.

TEST(AuditlogFeed, ReadsTheSampleLogWhole) {
  const std::string log = SampleLog();
  const FeedRecorder found = Found(log);
  EXPECT_THAT(found.malformed, IsEmpty());
  std::map<int, std::size_t> codes;
  for (const int code : found.Codes()) ++codes[code];
  const auto lines = [&](const std::string& line) {
    std::size_t count = 0;
    for (std::size_t at = log.find('\n' + line + '\n'); at != std::string::npos;
         at = log.find('\n' + line + '\n', at + 1)) {
      ++count;
    }
    return count;
  };
  EXPECT_EQ(lines("changetype: add"), codes[20001]);
  EXPECT_EQ(lines("changetype: delete"), codes[20002]);
  EXPECT_EQ(lines("changetype: modrdn"), codes[20003] + codes[20004]);
  EXPECT_EQ(lines("add: olcAttributeTypes"), codes[20012]);
  EXPECT_GT(codes[20007], lines("replace: userPassword"));
}

TEST(AuditlogFeed, ReadsTheSampleLogInBlocksOfAnySize) {
  const std::string log = SampleLog();
  const FeedRecorder whole = Found(log);
  ASSERT_THAT(whole.events, Not(IsEmpty()));
  for (std::size_t size = 1; size <= 64; ++size) {
    const FeedRecorder found = Found(log, size);
    EXPECT_TRUE(whole.events == found.events) << "in blocks of " << size;
    EXPECT_THAT(found.malformed, IsEmpty()) << "in blocks of " << size;
  }
}

TEST(AuditlogFeed, ReadsTheSampleLogWithCrLfAlike) {
  const std::string log = SampleLog();
  const FeedRecorder found = Found(WithCrLf(log));
  EXPECT_TRUE(Found(log).events == found.events);
  EXPECT_THAT(found.malformed, IsEmpty());
}

TEST(AuditlogFeed, NoPasswordOfTheSampleLogIsSeen) {
  const std::string found = Found(SampleLog()).Everything();
  for (const char* const trace : {"c2VjcmV0", "secret", "{SSHA}", "e1NTSEF9"}) {
    EXPECT_THAT(found, Not(HasSubstr(trace)));
  }
}

TEST(AuditlogFeed, OneLogMayFollowAnother) {
  FeedRecorder found;
  AuditlogFeed feed(found, "dir1");
  TakeInBlocks(feed, LoggedDelete("cn=a,o=acme"), 7);
  TakeInBlocks(feed, "x\n" + LoggedDelete("cn=b,o=acme"), 7);
  EXPECT_THAT(Changes(found), ElementsAre("20002 a.acme", "20002 b.acme"));
  EXPECT_THAT(found.MalformedLines(), ElementsAre(1));
}

}  // namespace
}  // namespace wkagent::test
