#include "agent/event_codes.h"

#include <cctype>
#include <string>

#include <gtest/gtest.h>

namespace wkagent::test {
namespace {

struct Row {
  const char* attribute;
  int added;
  int removed;
};

constexpr Row kTable[] = {
    {"cn", 20005, 20006},
    {"telephoneNumber", 20005, 20006},
    {"objectClass", 20005, 20006},
    {"memberUid", 20005, 20006},
    {"olcAccess", 20005, 20006},
    {"pwdHistory", 20005, 20006},
    {"", 20005, 20006},
    {"userPassword", 20007, 20007},
    {"2.5.4.35", 20007, 20007},
    {"member", 20008, 20009},
    {"uniqueMember", 20008, 20009},
    {"groupMembership", 20008, 20009},
    {"securityEquals", 20008, 20009},
    {"olcSyncrepl", 20010, 20011},
    {"olcMirrorMode", 20010, 20011},
    {"olcMultiProvider", 20010, 20011},
    {"olcAttributeTypes", 20012, 20013},
    {"attributeTypes", 20012, 20013},
    {"olcObjectClasses", 20014, 20015},
    {"objectClasses", 20014, 20015},
    {"olcObjectIdentifier", 20016, 20016},
    {"olcLdapSyntaxes", 20016, 20016},
    {"olcDitContentRules", 20016, 20016},
    {"ldapSyntaxes", 20016, 20016},
    {"matchingRules", 20016, 20016},
    {"matchingRuleUse", 20016, 20016},
    {"nameForms", 20016, 20016},
    {"dITContentRules", 20016, 20016},
    {"dITStructureRules", 20016, 20016},
    {"entryCSN", 0, 0},
    {"entryUUID", 0, 0},
    {"modifiersName", 0, 0},
    {"modifyTimestamp", 0, 0},
    {"creatorsName", 0, 0},
    {"createTimestamp", 0, 0},
    {"structuralObjectClass", 0, 0},
};

TEST(EventCodes, FollowTheAttribute) {
  for (const auto& [attribute, added, removed] : kTable) {
    EXPECT_EQ(added, AttributeEventCode(attribute, false)) << attribute;
    EXPECT_EQ(removed, AttributeEventCode(attribute, true)) << attribute << " removed";
  }
}

TEST(EventCodes, LookAtNeitherCaseNorOptions) {
  for (const auto& [attribute, added, removed] : kTable) {
    std::string name(attribute);
    for (char& c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_EQ(added, AttributeEventCode(name, false)) << name;
    EXPECT_EQ(removed, AttributeEventCode(name + ";x-option;lang-en", true)) << name;
  }
}

TEST(EventCodes, PartsOfANameAreAnotherAttribute) {
  EXPECT_EQ(20005, AttributeEventCode("members", false));
  EXPECT_EQ(20005, AttributeEventCode("membe", false));
  EXPECT_EQ(20005, AttributeEventCode("xmember", false));
  EXPECT_EQ(20005, AttributeEventCode("userPasswordHint", false));
}

TEST(EventCodes, OnlyMembershipsNameASecondObject) {
  for (int code = 0; code <= 65535; ++code) {
    EXPECT_EQ(code == 20008 || code == 20009, NamesSecondObject(static_cast<unsigned short>(code)));
  }
}

TEST(EventCodes, AreNumberedInOrder) {
  EXPECT_EQ(20001, kEntryAdded);
  EXPECT_EQ(20002, kEntryDeleted);
  EXPECT_EQ(20003, kEntryRenamed);
  EXPECT_EQ(20004, kEntryMoved);
  EXPECT_EQ(20005, kValueAdded);
  EXPECT_EQ(20016, kSchemaChanged);
  EXPECT_EQ(21001, kLogin);
  EXPECT_EQ(21002, kLogout);
}

}  // namespace
}  // namespace wkagent::test
