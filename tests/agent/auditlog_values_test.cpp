// How names and values of the change log are written into the fields of an event.

#include <cstring>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/auditlog_fixture.h"
#include "agent/base64.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using namespace std::string_literals;

// What the event of an added value shows of it, the value being given as "attribute: value".
std::string Shown(const std::string& attribute, const std::string& rest) {
  const FeedRecorder found =
      Found(LoggedModify("cn=bob,o=acme", "add: " + attribute + "\n" + attribute + rest + "\n-\n"));
  EXPECT_TRUE(found.malformed.empty());
  return found.events.size() == 1 ? found.events[0].value : "not one event";
}

std::string ShownBytes(const std::string& attribute, const std::string& bytes) {
  return Shown(attribute, ":: " + Base64(bytes));
}

std::string ShownName(const std::string& line) {
  const FeedRecorder found = Found(Logged("delete", line + "\nchangetype: delete\n"));
  EXPECT_TRUE(found.malformed.empty());
  return found.events.size() == 1 ? found.events[0].object1 : "not one event";
}

TEST(AuditlogValues, AreUnfolded) {
  EXPECT_EQ("one two three", Shown("description", ": one\n  two\n  thr\n ee"));
  EXPECT_EQ("J\u00FCrgen", Shown("cn", ": J\xC3\n \xBCrgen"));
}

TEST(AuditlogValues, InBase64AreDecoded) {
  EXPECT_EQ("gr\u00FCn & <b>\"bold\"</b> #13",
            Shown("description", ":: Z3LDvG4gJiA8Yj4iYm9sZCI8L2I+ICMxMw=="));
  EXPECT_EQ("gr\u00FCn", Shown("description", ":: Z3L\n Dv\n G4="));
}

TEST(AuditlogValues, InRawUtf8AreTaken) {
  EXPECT_EQ("J\u00FCrgen \u20AC \U0001F600", Shown("cn", ": J\u00FCrgen \u20AC \U0001F600"));
}

TEST(AuditlogValues, MayBeginWithBlanksOrHoldLineBreaks) {
  EXPECT_EQ("  bob ", ShownBytes("cn", "  bob "));
  EXPECT_EQ("one\ntwo\r\nthree\t4", ShownBytes("description", "one\ntwo\r\nthree\t4"));
  EXPECT_EQ(": bob", ShownBytes("cn", ": bob"));
  EXPECT_EQ("< bob", ShownBytes("cn", "< bob"));
}

TEST(AuditlogValues, ShowWhatXmlForbidsAsReplaced) {
  EXPECT_EQ("a\uFFFD\uFFFD\uFFFDz", ShownBytes("cn", "a\x01\x1B\x0Cz"));
  EXPECT_EQ("a\uFFFDz", ShownBytes("cn", "a\uFFFEz"));
}

TEST(AuditlogValues, ThatAreBinaryAreWrittenAsBase64) {
  const std::string jpeg = "\xFF\xD8\xFF\xE0\0\x10JFIF"s;
  EXPECT_EQ(Base64(jpeg), ShownBytes("jpegPhoto", jpeg));
  EXPECT_EQ(Base64("a\0b"s), ShownBytes("description", "a\0b"s));
  EXPECT_EQ("anVtcOQ=", Shown("cn", ": jump\xE4"));
}

TEST(AuditlogValues, WithTheBinaryOptionAreWrittenAsBase64) {
  EXPECT_EQ("dGV4dA==", Shown("userCertificate;binary", ": text"));
  EXPECT_EQ("dGV4dA==", Shown("userCertificate;BINARY", ": text"));
  EXPECT_EQ("dGV4dA==", Shown("userCertificate;binary;x-a", ": text"));
  EXPECT_EQ("dGV4dA==", Shown("userCertificate;x-a;binary", ": text"));
  EXPECT_EQ("", Shown("userCertificate;binary", ":"));
}

TEST(AuditlogValues, WithAnotherOptionAreText) {
  EXPECT_EQ("text", Shown("cn;binaryx", ": text"));
  EXPECT_EQ("text", Shown("cn;lang-en", ": text"));
  EXPECT_EQ("text", Shown("binary", ": text"));
}

TEST(AuditlogValues, ThatAreBinaryAreCutToTheField) {
  std::string bytes(5000, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7);
  EXPECT_EQ(Base64(bytes).substr(0, 299), ShownBytes("jpegPhoto", bytes));
}

TEST(AuditlogValues, AreCutToTheFieldBetweenCharacters) {
  std::string text;
  for (int i = 0; i < 500; ++i) text += "\u20AC";
  EXPECT_EQ(text.substr(0, 297), ShownBytes("cn", text));
  EXPECT_EQ(std::string("a").append(text, 0, 297), ShownBytes("cn", "a" + text));
  EXPECT_EQ(std::string("abc").append(text, 0, 294), ShownBytes("cn", "abc" + text));
  EXPECT_EQ(std::string(299, 'x'), Shown("cn", ": " + std::string(299, 'x')));
  EXPECT_EQ(std::string(299, 'x'), Shown("cn", ": " + std::string(300, 'x')));
}

TEST(AuditlogValues, AttributeNamesAreCutToTheField) {
  const std::string name(200, 'a');
  const FeedRecorder found = Found(LoggedModify("o=acme", "delete: " + name + "\n-\n"));
  ASSERT_EQ(1U, found.events.size());
  EXPECT_EQ(name.substr(0, 127), found.events[0].attribute);
}

TEST(AuditlogNames, AreUnescaped) {
  EXPECT_EQ("Smith, John.sales.acme", ShownName(R"(dn: cn=Smith\, John,ou=sales,o=acme)"));
  EXPECT_EQ("Smith, John.acme", ShownName(R"(dn: cn=Smith\2C John,o=acme)"));
  EXPECT_EQ("C++.acme", ShownName(R"(dn: cn=C\+\2B,o=acme)"));
  EXPECT_EQ("Andr\u00E9.acme", ShownName(R"(dn: cn=Andr\C3\A9,o=acme)"));
  EXPECT_EQ("a+b.acme", ShownName("dn: cn=a+sn=b,o=acme"));
  EXPECT_EQ("Smith, John.acme", ShownName(R"(dn: cn="Smith, John",o=acme)"));
}

TEST(AuditlogNames, MayBeFoldedInBase64OrInRawUtf8) {
  EXPECT_EQ("a long name.sales.acme", ShownName("dn: cn=a long\n  name,ou=sa\n les,o=acme"));
  EXPECT_EQ("J\u00FCrgen.acme", ShownName("dn:: " + Base64("cn=J\u00FCrgen,o=acme")));
  EXPECT_EQ("J\u00FCrgen.acme",
            ShownName("dn:: " + Base64("cn=J\u00FCrgen,o=acme").insert(5, "\n ")));
  EXPECT_EQ("J\u00FCrgen.acme", ShownName("dn: cn=J\u00FCrgen,o=acme"));
}

TEST(AuditlogNames, AreCutToTheField) {
  const std::string name(400, 'n');
  EXPECT_EQ(name.substr(0, 299), ShownName("dn: cn=" + name + ",o=acme"));
}

TEST(AuditlogNames, ShowWhatIsNoTextAsReplaced) {
  EXPECT_EQ("a\uFFFDb.acme", ShownName(R"(dn: cn=a\00b,o=acme)"));
  EXPECT_EQ("a\uFFFDb.acme", ShownName(R"(dn: cn=a\E4b,o=acme)"));
  EXPECT_EQ("a\uFFFDb.acme", ShownName("dn: cn=a\xE4"
                                       "b,o=acme"));
}

TEST(AuditlogNames, MayBeEmpty) { EXPECT_EQ("", ShownName("dn:")); }

TEST(AuditlogNames, OfUsersAreCutAndReplacedAsWell) {
  const std::string user = R"(cn=J\C3\BCrgen \E4)" + std::string(400, 'n') + ",o=acme";
  const FeedRecorder found = Found(Logged("delete", "dn: o=acme\nchangetype: delete\n",
                                          "o=acme " + user + " IP=127.0.0.1:1 conn=1"));
  ASSERT_EQ(1U, found.events.size());
  EXPECT_EQ("J\u00FCrgen \uFFFD" + std::string(300 - 1 - 11, 'n'), found.events[0].user);
}

TEST(AuditlogNames, OfANewParentAreUnescaped) {
  EXPECT_THAT(Changes(Logged("modrdn", "dn: cn=bob,o=acme\nchangetype: modrdn\nnewrdn:: " +
                                           Base64(R"(cn=Rob\2C J)") +
                                           "\nnewsuperior: ou=a\\+b,\n o=acme\n")),
              ElementsAre("20004 bob.acme -> Rob, J.a+b.acme"));
}

}  // namespace
}  // namespace wkagent::test
