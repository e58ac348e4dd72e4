// From a change in a real directory server to its audit records, while the agent follows the log.

#include <algorithm>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include "integration/agent_test.h"
#include "integration/slapd.h"
#include "support/conservation.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr char kPerson[] = "objectClass: inetOrgPerson\nsn: Smith\nuserPassword: Geheim7-person\n";
constexpr char kDatabase[] = "dn: olcDatabase={2}mdb,cn=config\nchangetype: modify\n";
constexpr char kAgreement[] =
    "{0}rid=001 provider=ldap://127.0.0.1:9 searchbase=\"o=acme\" bindmethod=simple ";
constexpr std::size_t kRecordsOfPerson = 5;

std::string LastOf(const std::vector<std::string>& lines) {
  return lines.empty() ? std::string() : lines.back();
}

class SlapdToArchive : public AgentTest {
 protected:
  SlapdToArchive() : log_(home_.Path("changes.ldif")) {
    home_.Write("changes.ldif", "");
    agent_.emplace(Command("auditlog:" + log_, {"--follow"}));
    std::filesystem::create_directory(home_.Path("slapd"));
    server_.emplace(home_.Path("slapd"), log_);
  }

  // Nothing that the agent wrote, ever, holds a password.
  void TearDown() override {
    home_.Write("tmp/stdout", agent_->Output());
    home_.Write("tmp/stderr", agent_->Errors());
    for (const char* folder : {"tmp", "outbox", "bin"}) {
      for (const std::string& name : home_.List(folder)) {
        const std::string text = home_.Read(std::string(folder) + "/" + name);
        for (const char* secret : {"Geheim7", "R2VoZWltNy", "{SSHA}", "e1NTSEF9"}) {
          EXPECT_EQ(std::string::npos, text.find(secret)) << secret << " in " << name;
        }
      }
    }
  }

  // Makes a last change, waits until the agent has written it, and stops the agent.
  void Finish() {
    server_->Add("dn: ou=last,o=acme\nobjectClass: organizationalUnit\nou: last\n");
    ASSERT_TRUE(WaitForLive("AttributeValue=\"last\"")) << agent_->Errors();
    agent_->Signal(SIGTERM);
    ASSERT_EQ(0, agent_->Wait()) << agent_->Errors();
    ExpectConserved(agent_->Output());
    EXPECT_EQ(0, TotalsIn(agent_->Output()).at(0).malformed) << agent_->Errors();
  }

  // Finishes: the records of all but the last change, each as
  // "CODE USER NODE OBJECT ATTRIBUTE=VALUE SECOND OBJECT", without what is empty.
  std::vector<std::string> Audited() {
    Finish();
    std::vector<std::string> lines;
    for (const AuditRecord& record : Records()) {
      if (record.object1 == "last.acme") continue;
      lines.push_back(
          record.code + " " + record.user + " " + record.node + " " + record.object1 +
          (record.attribute.empty() ? "" : " " + record.attribute + "=" + record.value) +
          (record.object2.empty() ? "" : " " + record.object2));
    }
    return lines;
  }

  void AddPerson(const std::string& name) { server_->Add("dn: " + name + "\n" + kPerson); }

  // `Audited` of a test that first added one person, without the records of that.
  std::vector<std::string> AuditedAfterPerson() {
    std::vector<std::string> lines = Audited();
    EXPECT_GE(lines.size(), kRecordsOfPerson);
    lines.erase(lines.begin(),
                lines.begin() + static_cast<long>(std::min(lines.size(), kRecordsOfPerson)));
    return lines;
  }

  // Gives users of the database a right, as slapd.access(5) writes it.
  void AllowWriting(const std::string& who) {
    server_->Modify(std::string(kDatabase) + "add: olcAccess\nolcAccess: {0}to * " + who + "\n",
                    DirectoryServer::kConfigAdmin);
  }

  // Adds a replication agreement whose text ends so, and deletes it.
  void AgreeAndDisagree(const std::string& end) {
    const std::string database = kDatabase;
    server_->Modify(database + "add: olcSyncrepl\nolcSyncrepl: " + kAgreement + end + "\n",
                    DirectoryServer::kConfigAdmin);
    server_->Modify(database + "delete: olcSyncrepl\n", DirectoryServer::kConfigAdmin);
  }

  const std::string log_;
  std::optional<Process> agent_;
  std::optional<DirectoryServer> server_;
};

// "CODE USER NODE " of a change that the directory's administrator made.
#define BY_ADMIN(code) code " admin.acme 127.0.0.1 "

TEST_F(SlapdToArchive, AddedPerson) {
  AddPerson("cn=jsmith,ou=sales,o=acme");
  EXPECT_THAT(Audited(),
              ElementsAre(BY_ADMIN("20001") "jsmith.sales.acme",
                          BY_ADMIN("20005") "jsmith.sales.acme objectClass=inetOrgPerson",
                          BY_ADMIN("20005") "jsmith.sales.acme sn=Smith",
                          BY_ADMIN("20007") "jsmith.sales.acme userPassword=",
                          BY_ADMIN("20005") "jsmith.sales.acme cn=jsmith"));
}

TEST_F(SlapdToArchive, AddedGroupWithMembers) {
  server_->Add(
      "dn: cn=staff,o=acme\nobjectClass: groupOfNames\ncn: staff\n"
      "member: cn=jsmith,ou=sales,o=acme\nmember: cn=Blum\\, Eva,ou=finance,o=acme\n");
  EXPECT_THAT(Audited(),
              ElementsAre(BY_ADMIN("20001") "staff.acme",
                          BY_ADMIN("20005") "staff.acme objectClass=groupOfNames",
                          BY_ADMIN("20005") "staff.acme cn=staff",
                          BY_ADMIN("20008") "staff.acme member=cn=jsmith,ou=sales,o=acme"
                                            " jsmith.sales.acme",
                          BY_ADMIN("20008") "staff.acme member=cn=Blum\\2C Eva,ou=finance,o=acme"
                                            " Blum, Eva.finance.acme"));
}

TEST_F(SlapdToArchive, MembershipsAddedAndRemoved) {
  server_->Add("dn: cn=staff,o=acme\nobjectClass: groupOfNames\ncn: staff\nmember: cn=a,o=acme\n");
  server_->Modify("dn: cn=staff,o=acme\nchangetype: modify\nadd: member\nmember: cn=b,o=acme\n");
  server_->Modify("dn: cn=staff,o=acme\nchangetype: modify\ndelete: member\nmember: cn=a,o=acme\n");
  std::vector<std::string> lines = Audited();
  ASSERT_EQ(6U, lines.size());
  EXPECT_EQ(BY_ADMIN("20008") "staff.acme member=cn=b,o=acme b.acme", lines[4]);
  EXPECT_EQ(BY_ADMIN("20009") "staff.acme member=cn=a,o=acme a.acme", lines[5]);
}

TEST_F(SlapdToArchive, SeveralValuesOfOneAttribute) {
  AddPerson("cn=jsmith,ou=sales,o=acme");
  server_->Modify(
      "dn: cn=jsmith,ou=sales,o=acme\nchangetype: modify\nadd: telephoneNumber\n"
      "telephoneNumber: 555-0001\ntelephoneNumber: 555-0002\ntelephoneNumber: 555-0003\n");
  EXPECT_THAT(AuditedAfterPerson(),
              ElementsAre(BY_ADMIN("20005") "jsmith.sales.acme telephoneNumber=555-0001",
                          BY_ADMIN("20005") "jsmith.sales.acme telephoneNumber=555-0002",
                          BY_ADMIN("20005") "jsmith.sales.acme telephoneNumber=555-0003"));
}

TEST_F(SlapdToArchive, SeveralChangesInOneModification) {
  AddPerson("cn=jsmith,ou=sales,o=acme");
  server_->Modify(
      "dn: cn=jsmith,ou=sales,o=acme\nchangetype: modify\nadd: mail\nmail: a@acme.example\n"
      "mail: b@acme.example\n-\nreplace: sn\nsn: Smythe\n-\ndelete: mail\nmail: a@acme.example\n");
  EXPECT_THAT(AuditedAfterPerson(),
              ElementsAre(BY_ADMIN("20005") "jsmith.sales.acme mail=a@acme.example",
                          BY_ADMIN("20005") "jsmith.sales.acme mail=b@acme.example",
                          BY_ADMIN("20005") "jsmith.sales.acme sn=Smythe",
                          BY_ADMIN("20006") "jsmith.sales.acme mail=a@acme.example"));
}

TEST_F(SlapdToArchive, AttributeDeletedAsAWhole) {
  AddPerson("cn=jsmith,ou=sales,o=acme");
  server_->Modify("dn: cn=jsmith,ou=sales,o=acme\nchangetype: modify\nadd: mail\nmail: a@b.c\n");
  server_->Modify("dn: cn=jsmith,ou=sales,o=acme\nchangetype: modify\ndelete: mail\n");
  server_->Modify("dn: cn=jsmith,ou=sales,o=acme\nchangetype: modify\nreplace: mail\n");
  EXPECT_THAT(AuditedAfterPerson(), ElementsAre(BY_ADMIN("20005") "jsmith.sales.acme mail=a@b.c",
                                                BY_ADMIN("20006") "jsmith.sales.acme mail=",
                                                BY_ADMIN("20006") "jsmith.sales.acme mail="));
}

TEST_F(SlapdToArchive, NamesInUtf8) {
  AddPerson("cn=J\xC3\xBCrgen Gr\xC3\xBCn,ou=sales,o=acme");
  server_->Rename("cn=J\xC3\xBCrgen Gr\xC3\xBCn,ou=sales,o=acme", "cn=\xE6\x9D\x8E");
  EXPECT_THAT(AuditedAfterPerson(),
              ElementsAre(BY_ADMIN("20003") "J\xC3\xBCrgen Gr\xC3\xBCn.sales.acme"
                                            " \xE6\x9D\x8E.sales.acme"));
}

TEST_F(SlapdToArchive, NamesWithEscapedCharacters) {
  AddPerson("cn=Smith\\, John,ou=sales,o=acme");
  server_->Rename("cn=Smith\\, John,ou=sales,o=acme", "cn=a\\+b");
  server_->Rename("cn=a\\+b,ou=sales,o=acme", "cn=\\<x\\> \\\"y\\\" \\\\ \\#z\\;");
  EXPECT_THAT(AuditedAfterPerson(),
              ElementsAre(BY_ADMIN("20003") "Smith, John.sales.acme a+b.sales.acme",
                          BY_ADMIN("20003") "a+b.sales.acme <x> \"y\" \\ #z;.sales.acme"));
}

TEST_F(SlapdToArchive, NameOfSeveralAttributes) {
  AddPerson("cn=jsmith+sn=Smith,ou=sales,o=acme");
  server_->Delete("cn=jsmith+sn=Smith,ou=sales,o=acme");
  EXPECT_EQ(BY_ADMIN("20002") "jsmith+Smith.sales.acme", LastOf(Audited()));
}

TEST_F(SlapdToArchive, ValueWithLeadingBlankAndLineBreak) {
  AddPerson("cn=jsmith,ou=sales,o=acme");
  // " lead\nbreak", and "<b>&\"'" with a blank at its end.
  server_->Modify(
      "dn: cn=jsmith,ou=sales,o=acme\nchangetype: modify\nadd: description\n"
      "description:: IGxlYWQKYnJlYWs=\ndescription:: PGI+JiInIA==\n");
  EXPECT_THAT(AuditedAfterPerson(),
              ElementsAre(BY_ADMIN("20005") "jsmith.sales.acme description= lead\nbreak",
                          BY_ADMIN("20005") "jsmith.sales.acme description=<b>&\"' "));
}

TEST_F(SlapdToArchive, LongValueIsFoldedInTheLogAndCutToItsField) {
  AddPerson("cn=jsmith,ou=sales,o=acme");
  const std::string text(1000, 'x');
  server_->Modify(
      "dn: cn=jsmith,ou=sales,o=acme\nchangetype: modify\nadd: description\n"
      "description: " +
      text + "\n");
  EXPECT_THAT(AuditedAfterPerson(), ElementsAre(BY_ADMIN("20005") "jsmith.sales.acme description=" +
                                                text.substr(0, 299)));
}

TEST_F(SlapdToArchive, BinaryValueIsWrittenAsBase64) {
  AddPerson("cn=jsmith,ou=sales,o=acme");
  server_->Modify(
      "dn: cn=jsmith,ou=sales,o=acme\nchangetype: modify\nadd: jpegPhoto\n"
      "jpegPhoto:: /9j/4AAQSkZJRgABAQ==\n");
  EXPECT_THAT(AuditedAfterPerson(),
              ElementsAre(BY_ADMIN("20005") "jsmith.sales.acme jpegPhoto=/9j/4AAQSkZJRgABAQ=="));
}

TEST_F(SlapdToArchive, Rename) {
  AddPerson("cn=jsmith,ou=sales,o=acme");
  server_->Rename("cn=jsmith,ou=sales,o=acme", "cn=jdoe");
  EXPECT_THAT(AuditedAfterPerson(),
              ElementsAre(BY_ADMIN("20003") "jsmith.sales.acme jdoe.sales.acme"));
}

TEST_F(SlapdToArchive, MoveToAnotherContainer) {
  AddPerson("cn=jsmith,ou=sales,o=acme");
  server_->Move("cn=jsmith,ou=sales,o=acme", "cn=jsmith", "ou=finance,o=acme");
  server_->Move("cn=jsmith,ou=finance,o=acme", "cn=jdoe", "o=acme");
  EXPECT_THAT(AuditedAfterPerson(),
              ElementsAre(BY_ADMIN("20004") "jsmith.sales.acme jsmith.finance.acme",
                          BY_ADMIN("20004") "jsmith.finance.acme jdoe.acme"));
}

TEST_F(SlapdToArchive, MoveIntoTheSameContainerIsARename) {
  AddPerson("cn=jsmith,ou=sales,o=acme");
  server_->Move("cn=jsmith,ou=sales,o=acme", "cn=jdoe", "OU=Sales,O=Acme");
  const std::vector<std::string> lines = AuditedAfterPerson();
  ASSERT_EQ(1U, lines.size());
  EXPECT_THAT(lines[0], StartsWith(BY_ADMIN("20003") "jsmith.sales.acme jdoe."));
}

TEST_F(SlapdToArchive, PasswordChange) {
  AddPerson("cn=jsmith,ou=sales,o=acme");
  server_->ChangePassword("cn=jsmith,ou=sales,o=acme", "Geheim7-changed");
  server_->Modify(
      "dn: cn=jsmith,ou=sales,o=acme\nchangetype: modify\nreplace: userPassword\n"
      "userPassword: Geheim7-a\nuserPassword: Geheim7-b\n-\ndelete: userPassword\n");
  EXPECT_THAT(AuditedAfterPerson(),
              ElementsAre(BY_ADMIN("20007") "jsmith.sales.acme userPassword=",
                          BY_ADMIN("20007") "jsmith.sales.acme userPassword=",
                          BY_ADMIN("20007") "jsmith.sales.acme userPassword=",
                          BY_ADMIN("20007") "jsmith.sales.acme userPassword="));
}

TEST_F(SlapdToArchive, Deletion) {
  AddPerson("cn=jsmith,ou=sales,o=acme");
  server_->Delete("cn=jsmith,ou=sales,o=acme");
  EXPECT_THAT(AuditedAfterPerson(), ElementsAre(BY_ADMIN("20002") "jsmith.sales.acme"));
}

TEST_F(SlapdToArchive, ChangeByAnotherUser) {
  AddPerson("cn=jsmith,ou=sales,o=acme");
  AllowWriting("by users write by anonymous auth");
  server_->ChangePassword("cn=jsmith,ou=sales,o=acme", DirectoryServer::kPassword);
  server_->Modify("dn: cn=jsmith,ou=sales,o=acme\nchangetype: modify\nreplace: sn\nsn: Me\n",
                  "cn=jsmith,ou=sales,o=acme");
  EXPECT_EQ("20005 jsmith.sales.acme 127.0.0.1 jsmith.sales.acme sn=Me", LastOf(Audited()));
}

TEST_F(SlapdToArchive, ChangeThroughTheLocalSocket) {
  server_->AddLocally("dn: ou=it,o=acme\nobjectClass: organizationalUnit\nou: it\n");
  const std::vector<std::string> lines = Audited();
  ASSERT_EQ(3U, lines.size());
  EXPECT_EQ("20001 admin.acme " + server_->SocketPath().substr(0, 49) + " it.acme", lines[0]);
}

TEST_F(SlapdToArchive, SchemaChanges) {
  const std::string schema = "dn: cn={0}core,cn=schema,cn=config\nchangetype: modify\n";
  const std::string type =
      "( 1.3.6.1.4.1.32473.1.1 NAME 'acmeBadge' EQUALITY caseIgnoreMatch"
      " SYNTAX 1.3.6.1.4.1.1466.115.121.1.15 )";
  const std::string kind =
      "( 1.3.6.1.4.1.32473.1.2 NAME 'acmeWorker' SUP top AUXILIARY MAY acmeBadge )";
  server_->Modify(schema + "add: olcAttributeTypes\nolcAttributeTypes: " + type + "\n",
                  DirectoryServer::kConfigAdmin);
  server_->Modify(schema + "add: olcObjectClasses\nolcObjectClasses: " + kind + "\n",
                  DirectoryServer::kConfigAdmin);
  const std::string start = " config 127.0.0.1 {0}core.schema.config ";
  EXPECT_THAT(Audited(), ElementsAre("20012" + start + "olcAttributeTypes=" + type,
                                     "20014" + start + "olcObjectClasses=" + kind));
}

TEST_F(SlapdToArchive, SchemaRemovals) {
  server_->Add(
      "dn: cn=acme,cn=schema,cn=config\nobjectClass: olcSchemaConfig\ncn: acme\n"
      "olcAttributeTypes: ( 1.3.6.1.4.1.32473.1.1 NAME 'acmeBadge' SUP name )\n"
      "olcObjectClasses: ( 1.3.6.1.4.1.32473.1.2 NAME 'acmeWorker' SUP top AUXILIARY )\n",
      DirectoryServer::kConfigAdmin);
  server_->Modify(
      "dn: cn={3}acme,cn=schema,cn=config\nchangetype: modify\n"
      "delete: olcObjectClasses\nolcObjectClasses: {0}\n-\n"
      "delete: olcAttributeTypes\nolcAttributeTypes: {0}\n",
      DirectoryServer::kConfigAdmin);
  std::vector<std::string> codes;
  for (const std::string& line : Audited()) codes.push_back(line.substr(0, 5));
  EXPECT_THAT(codes, ElementsAre("20001", "20005", "20005", "20012", "20014", "20015", "20013"));
}

TEST_F(SlapdToArchive, UserWithBlanksAndUtf8InTheName) {
  AddPerson("cn=Eva Bl\xC3\xBCm,ou=sales,o=acme");
  AllowWriting("by users write by anonymous auth");
  server_->ChangePassword("cn=Eva Bl\xC3\xBCm,ou=sales,o=acme", DirectoryServer::kPassword);
  server_->Modify("dn: ou=finance,o=acme\nchangetype: modify\nadd: description\ndescription: d\n",
                  "cn=Eva Bl\xC3\xBCm,ou=sales,o=acme");
  EXPECT_EQ("20005 Eva Bl\xC3\xBCm.sales.acme 127.0.0.1 finance.acme description=d",
            LastOf(Audited()));
}

TEST_F(SlapdToArchive, PasswordOfTheConfiguration) {
  server_->Modify(std::string(kDatabase) + "replace: olcRootPW\nolcRootPW: Geheim7-new\n",
                  DirectoryServer::kConfigAdmin);
  server_->Modify(std::string(kDatabase) +
                      "replace: olcRootPW\nolcRootPW: " + DirectoryServer::kPassword + "\n",
                  DirectoryServer::kConfigAdmin);
  const char changed[] = "20005 config 127.0.0.1 {2}mdb.config olcRootPW=";
  EXPECT_THAT(Audited(), ElementsAre(changed, changed));
}

TEST_F(SlapdToArchive, ReplicationAgreements) {
  AgreeAndDisagree("credentials=Geheim7-replica");
  const std::vector<std::string> lines = Audited();
  ASSERT_EQ(2U, lines.size());
  EXPECT_THAT(lines[0], StartsWith("20010 config 127.0.0.1 {2}mdb.config olcSyncrepl="));
  EXPECT_THAT(lines[0], HasSubstr("provider=ldap://127.0.0.1:9"));
  EXPECT_EQ("20011 config 127.0.0.1 {2}mdb.config olcSyncrepl=", lines[1]);
}

TEST_F(SlapdToArchive, PasswordInQuotesOfAReplicationAgreement) {
  AgreeAndDisagree(R"(credentials="Geheim7 a\"b Geheim7")");
  EXPECT_THAT(Audited().at(0), HasSubstr("olcSyncrepl="));
}

TEST_F(SlapdToArchive, PasswordWithQuotesInsideOfAReplicationAgreement) {
  AgreeAndDisagree(R"(credentials=a" Geheim7")");
  EXPECT_THAT(Audited().at(0), HasSubstr("olcSyncrepl="));
}

TEST_F(SlapdToArchive, PasswordOfAReplicationAgreementThatIsQuotedAsAWhole) {
  AgreeAndDisagree(R"("credentials=a Geheim7")");
  EXPECT_THAT(Audited().at(0), HasSubstr("olcSyncrepl="));
}

TEST_F(SlapdToArchive, EventsBearTheTimeOfTheChange) {
  const std::time_t before = std::time(nullptr);
  AddPerson("cn=jsmith,ou=sales,o=acme");
  const std::time_t after = std::time(nullptr);
  Finish();
  std::tm time{};
  ASSERT_NE(nullptr, strptime(Records().at(0).utcDate.c_str(), "%Y-%m-%dT%H:%M:%S", &time));
  EXPECT_GE(timegm(&time), before);
  EXPECT_LE(timegm(&time), after);
}

TEST_F(SlapdToArchive, RefusedChangesAreNotAudited) {
  EXPECT_THROW(server_->Delete("cn=nobody,o=acme"), std::runtime_error);
  EXPECT_THROW(server_->Add("dn: ou=x,o=acme\nobjectClass: person\nou: x\n"), std::runtime_error);
  EXPECT_THAT(Audited(), IsEmpty());
}

TEST_F(SlapdToArchive, RotatedLogLosesNoChange) {
  std::vector<std::string> expected;
  for (int round = 0; round < 3; ++round) {
    for (const std::string unit : {"a", "b", "c"}) {
      const std::string name = unit + std::to_string(round);
      server_->Add("dn: ou=" + name + ",o=acme\nobjectClass: organizationalUnit\nou: " + name +
                   "\n");
      expected.push_back(BY_ADMIN("20005") + name + ".acme ou=" + name);
      // One change goes into the new log, or two: the agent must have seen it before the next.
      if (unit == "b") std::filesystem::rename(log_, log_ + "." + std::to_string(round));
    }
    ASSERT_TRUE(WaitForLive("c" + std::to_string(round) + ".acme"));
  }
  std::vector<std::string> names = Audited();
  std::erase_if(names,
                [](const std::string& line) { return line.find(" ou=") == std::string::npos; });
  EXPECT_EQ(expected, names);
}

TEST_F(SlapdToArchive, LogReadAtOnceGivesWhatFollowingItGave) {
  AddPerson("cn=jsmith,ou=sales,o=acme");
  server_->ChangePassword("cn=jsmith,ou=sales,o=acme", "Geheim7-changed");
  server_->Move("cn=jsmith,ou=sales,o=acme", "cn=jdoe", "ou=finance,o=acme");
  Finish();
  const std::size_t followed = Records().size();
  const Ended again = RunAgent("auditlog:" + log_);
  EXPECT_EQ(0, again.status);
  EXPECT_EQ(followed, static_cast<std::size_t>(TotalsIn(again.output).at(0).kept));
  EXPECT_EQ(2 * followed, Records().size());
}

}  // namespace
}  // namespace wkagent::test
