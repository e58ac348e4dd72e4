// What modify records of the change log raise.

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/auditlog_fixture.h"
#include "agent/field_text.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

TEST(AuditlogModify, EveryValueIsOneEvent) {
  EXPECT_THAT(Modified("add: mail\nmail: a@acme\nmail: b@acme\nmail: c@acme\n-\n"),
              ElementsAre("20005 mail=a@acme", "20005 mail=b@acme", "20005 mail=c@acme"));
}

TEST(AuditlogModify, AReplacedValueIsAnAddedOne) {
  EXPECT_THAT(Modified("replace: mail\nmail: a@acme\nmail: b@acme\n-\n"),
              ElementsAre("20005 mail=a@acme", "20005 mail=b@acme"));
}

TEST(AuditlogModify, ADeletedValueIsOneEvent) {
  EXPECT_THAT(Modified("delete: mail\nmail: a@acme\nmail: b@acme\n-\n"),
              ElementsAre("20006 mail=a@acme", "20006 mail=b@acme"));
}

TEST(AuditlogModify, WithoutValuesTheAttributeIsDeleted) {
  EXPECT_THAT(Modified("delete: mail\n-\n"), ElementsAre("20006 mail="));
  EXPECT_THAT(Modified("replace: mail\n-\n"), ElementsAre("20006 mail="));
}

TEST(AuditlogModify, AnIncrementIsAChangedValue) {
  EXPECT_THAT(Modified("increment: uidNumber\nuidNumber: 1\n-\n"),
              ElementsAre("20005 uidNumber=1"));
}

TEST(AuditlogModify, ChangesKeepTheirOrder) {
  EXPECT_THAT(
      Modified("delete: mail\n-\nadd: sn\nsn: A\n-\nreplace: cn\ncn: b\ncn: c\n-\n"
               "replace: entryCSN\nentryCSN: 1\n-\nadd: mail\nmail: d@acme\n-\n"),
      ElementsAre("20006 mail=", "20005 sn=A", "20005 cn=b", "20005 cn=c", "20005 mail=d@acme"));
}

TEST(AuditlogModify, TheLastDashMayBeMissing) {
  EXPECT_THAT(Modified("add: sn\nsn: A\n-\ndelete: mail\n"),
              ElementsAre("20005 sn=A", "20006 mail="));
}

TEST(AuditlogModify, NoChangesRaiseNoEvent) { EXPECT_THAT(Modified(""), IsEmpty()); }

TEST(AuditlogModify, AnEmptyValueIsAValue) {
  EXPECT_THAT(Modified("add: description\ndescription:\n-\n"), ElementsAre("20005 description="));
}

TEST(AuditlogModify, OperationsHaveNoCase) {
  EXPECT_THAT(Modified("ADD: mail\nMail: a@acme\n-\nDelete: MAIL\n-\n"),
              ElementsAre("20005 mail=a@acme", "20006 MAIL="));
}

TEST(AuditlogModify, OptionsBelongToTheAttribute) {
  EXPECT_THAT(Modified("add: cn;lang-en\ncn;lang-en: bob\n-\ndelete: cn;lang-en;x-a\n-\n"),
              ElementsAre("20005 cn;lang-en=bob", "20006 cn;lang-en;x-a="));
}

TEST(AuditlogModify, MembershipsNameTheMember) {
  for (const std::string name : {"member", "uniqueMember", "groupMembership", "securityEquals"}) {
    const std::string value = name + ": cn=Smith\\2C Eve,ou=it,o=acme\n-\n";
    const std::string shown = " " + name + "=cn=Smith\\2C Eve,ou=it,o=acme -> Smith, Eve.it.acme";
    EXPECT_THAT(Modified("add: " + name + "\n" + value), ElementsAre("20008" + shown));
    EXPECT_THAT(Modified("replace: " + name + "\n" + value), ElementsAre("20008" + shown));
    EXPECT_THAT(Modified("delete: " + name + "\n" + value), ElementsAre("20009" + shown));
    EXPECT_THAT(Modified("delete: " + name + "\n-\n"), ElementsAre("20009 " + name + "="));
  }
}

TEST(AuditlogModify, AMemberIsForgottenAtTheNextChange) {
  EXPECT_THAT(Modified("add: member\nmember: cn=eve\n-\nadd: sn\nsn: B\n-\n"),
              ElementsAre("20008 member=cn=eve -> eve", "20005 sn=B"));
}

TEST(AuditlogModify, APasswordIsNeverShown) {
  for (const std::string name : {"userPassword", "USERPASSWORD", "userPassword;x-a", "2.5.4.35"}) {
    for (const std::string operation : {"add", "replace", "delete"}) {
      const std::string change = operation + ": " + name + "\n" + name;
      EXPECT_THAT(Modified(change + ": s3cret\n-\n"), ElementsAre("20007 " + name + "="));
      EXPECT_THAT(Modified(change + ":: czNjcmV0\n-\n"), ElementsAre("20007 " + name + "="));
      EXPECT_THAT(Modified(change + ": s3\n cret\n-\n"), ElementsAre("20007 " + name + "="));
    }
    EXPECT_THAT(Modified("delete: " + name + "\n-\n"), ElementsAre("20007 " + name + "="));
  }
}

TEST(AuditlogModify, OtherSecretsAreChangedValuesThatAreNotShown) {
  EXPECT_THAT(Modified("add: olcRootPW\nolcRootPW: s3cret\n-\ndelete: sambaNTPassword\n"
                       "sambaNTPassword: s3cret\n-\n"),
              ElementsAre("20005 olcRootPW=", "20006 sambaNTPassword="));
}

TEST(AuditlogModify, SchemaChangesAreToldApart) {
  const auto changed = [](const std::string& operation, const std::string& attribute) {
    return Changes(
        LoggedModify("cn={4}acme,cn=schema,cn=config",
                     operation + ": " + attribute + "\n" + attribute + ": {0}( 1.2 )\n-\n"));
  };
  const std::string object = " {4}acme.schema.config ";
  EXPECT_THAT(changed("add", "olcAttributeTypes"),
              ElementsAre("20012" + object + "olcAttributeTypes={0}( 1.2 )"));
  EXPECT_THAT(changed("delete", "olcAttributeTypes"),
              ElementsAre("20013" + object + "olcAttributeTypes={0}( 1.2 )"));
  EXPECT_THAT(changed("replace", "olcObjectClasses"),
              ElementsAre("20014" + object + "olcObjectClasses={0}( 1.2 )"));
  EXPECT_THAT(changed("delete", "olcObjectClasses"),
              ElementsAre("20015" + object + "olcObjectClasses={0}( 1.2 )"));
  EXPECT_THAT(changed("add", "olcDitContentRules"),
              ElementsAre("20016" + object + "olcDitContentRules={0}( 1.2 )"));
  EXPECT_THAT(changed("delete", "olcLdapSyntaxes"),
              ElementsAre("20016" + object + "olcLdapSyntaxes={0}( 1.2 )"));
}

TEST(AuditlogModify, ReplicationAgreementsAreToldApart) {
  EXPECT_THAT(Modified("add: olcMirrorMode\nolcMirrorMode: TRUE\n-\ndelete: olcMultiProvider\n-\n"),
              ElementsAre("20010 olcMirrorMode=TRUE", "20011 olcMultiProvider="));
}

TEST(AuditlogModify, TheCredentialsOfReplicationAreNotShown) {
  const std::string agreement =
      "olcSyncrepl: {0}rid=001 binddn=\"cn=x\" credentials=s3cret rid=2\n-\n";
  const std::string shown = " olcSyncrepl={0}rid=001 binddn=\"cn=x\" credentials=*** rid=2";
  EXPECT_THAT(Modified("add: olcSyncrepl\n" + agreement), ElementsAre("20010" + shown));
  EXPECT_THAT(Modified("replace: olcSyncrepl\n" + agreement), ElementsAre("20010" + shown));
  EXPECT_THAT(Modified("delete: olcSyncrepl\n" + agreement), ElementsAre("20011" + shown));
}

// A password of another character set makes the value binary.
TEST(AuditlogModify, TheCredentialsAreNotShownWhereTheValueIsBinary) {
  const std::string value = "rid=001 credentials=s3cret\xE4 retry=1";
  const FeedRecorder found =
      Found(LoggedModify("cn=config", "add: olcSyncrepl\nolcSyncrepl: " + value + "\n-\n"));
  ASSERT_THAT(found.Codes(), ElementsAre(20010));
  const std::string shown = found.events[0].value;
  EXPECT_THAT(shown, Not(HasSubstr("s3cret")));
  EXPECT_THAT(shown, Not(HasSubstr(EncodeBase64("rid=001 credentials=s3cret", 32)))) << shown;
}

}  // namespace
}  // namespace wkagent::test
