#include "agent/change_header.h"

#include <string>

#include <gtest/gtest.h>

#include "agent/distinguished_name.h"
#include "support/local_time.h"

namespace wkagent::test {
namespace {

constexpr char kEntry[] = "cn=bob,ou=sales,o=acme";

struct Header {
  std::time_t time;
  std::string suffix;
  std::string user;
  std::string address;

  bool operator==(const Header&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Header& header) {
  return out << header.time << " suffix '" << header.suffix << "' user '" << header.user
             << "' address '" << header.address << '\'';
}

Header Read(std::string_view comment, std::string_view entry = kEntry) {
  const ChangeHeader header = ReadChangeHeader(comment, entry);
  return {header.time, std::string(header.suffix), std::string(header.user), header.address};
}

TEST(ChangeHeader, HasTimeSuffixUserAndAddress) {
  const Header expected{1795207563, "o=acme", "cn=admin,o=acme", "127.0.0.1"};
  for (const char* const change : {"add", "delete", "modify", "modrdn"}) {
    EXPECT_EQ(expected, Read(std::string(change) +
                             " 1795207563 o=acme cn=admin,o=acme IP=127.0.0.1:35568 conn=1000"));
  }
}

TEST(ChangeHeader, ReadsAUserWithBlanks) {
  EXPECT_EQ((Header{1, "o=acme", "cn=John Q Smith,ou=our sales,o=acme", "10.0.0.1"}),
            Read("add 1 o=acme cn=John Q Smith,ou=our sales,o=acme IP=10.0.0.1:1 conn=1"));
}

TEST(ChangeHeader, ReadsASuffixWithBlanks) {
  EXPECT_EQ((Header{1, "o=acme of the north", "cn=admin,o=acme of the north", "10.0.0.1"}),
            Read("add 1 o=acme of the north cn=admin,o=acme of the north IP=10.0.0.1:1 conn=1",
                 "cn=bob,o=acme of the north"));
}

TEST(ChangeHeader, ReadsASuffixWhoseBeginningIsAnotherSuffix) {
  EXPECT_EQ((Header{1, "o=acme north", "cn=admin,o=acme", ""}),
            Read("add 1 o=acme north cn=admin,o=acme", "cn=bob,o=acme north"));
}

TEST(ChangeHeader, FindsTheSuffixWhateverItsCaseAndEscapes) {
  EXPECT_EQ((Header{1, "O=Acme", "cn=admin,o=acme", ""}), Read("add 1 O=Acme cn=admin,o=acme"));
  EXPECT_EQ((Header{1, R"(o=Smith\2C Inc)", "cn=x", ""}),
            Read(R"(add 1 o=Smith\2C Inc cn=x)", R"(cn=bob,o=smith\, inc)"));
}

TEST(ChangeHeader, TheEntryMayBeTheSuffixItself) {
  EXPECT_EQ((Header{1, "o=acme", "cn=admin,o=acme", ""}),
            Read("add 1 o=acme cn=admin,o=acme", "o=acme"));
}

TEST(ChangeHeader, AnEmptySuffixHoldsEveryEntry) {
  EXPECT_EQ((Header{1, "", "cn=admin,o=acme", "10.0.0.1"}),
            Read("add 1  cn=admin,o=acme IP=10.0.0.1:1 conn=1"));
}

TEST(ChangeHeader, AnAnonymousUserIsEmpty) {
  const Header expected{1, "o=acme", "", "127.0.0.1"};
  EXPECT_EQ(expected, Read("modify 1 o=acme  IP=127.0.0.1:389 conn=7"));
  EXPECT_EQ(expected, Read("modify 1 o=acme IP=127.0.0.1:389 conn=7"));
}

TEST(ChangeHeader, AddressesHaveNoPort) {
  const auto address = [](const std::string& peer) {
    return Read("add 1 o=acme cn=admin,o=acme " + peer + " conn=1").address;
  };
  EXPECT_EQ("127.0.0.1", address("IP=127.0.0.1:35568"));
  EXPECT_EQ("::1", address("IP=[::1]:35568"));
  EXPECT_EQ("2001:db8::8:800:200c:417a", address("IP=[2001:db8::8:800:200c:417a]:389"));
  EXPECT_EQ("fe80::1%eth0", address("IP=[fe80::1%eth0]:389"));
  EXPECT_EQ("/run/slapd/ldapi", address("PATH=/run/slapd/ldapi"));
  EXPECT_EQ("/run/my slapd/ldapi", address("PATH=/run/my slapd/ldapi"));
}

TEST(ChangeHeader, NamesThatLookLikeAPeerAreNone) {
  EXPECT_EQ((Header{1, "o=acme", "cn=eve IP=10.0.0.1:1,o=acme", "127.0.0.1"}),
            Read("add 1 o=acme cn=eve IP=10.0.0.1:1,o=acme IP=127.0.0.1:2 conn=1"));
  EXPECT_EQ((Header{1, "o=acme", "cn=eve PATH=/x,o=acme", "127.0.0.1"}),
            Read("add 1 o=acme cn=eve PATH=/x,o=acme IP=127.0.0.1:2 conn=1"));
  EXPECT_EQ((Header{1, "o=acme", "cn=eve IP=10.0.0.1:1,o=acme", "/run/ldapi"}),
            Read("add 1 o=acme cn=eve IP=10.0.0.1:1,o=acme PATH=/run/ldapi conn=1"));
}

TEST(ChangeHeader, ANameThatLooksLikeAConnectionIsNone) {
  EXPECT_EQ((Header{1, "o=acme", "cn=eve conn=5,o=acme", "127.0.0.1"}),
            Read("add 1 o=acme cn=eve conn=5,o=acme IP=127.0.0.1:2 conn=1"));
}

TEST(ChangeHeader, AChangeOfTheServerItselfHasNoAddress) {
  const Header header = Read("modify 1 o=acme cn=admin,o=acme  conn=-1");
  EXPECT_EQ("o=acme", header.suffix);
  EXPECT_EQ("admin.acme", DottedName(header.user));
  EXPECT_EQ("", header.address);
}

TEST(ChangeHeader, MissingPartsAreEmpty) {
  EXPECT_EQ((Header{0, "", "", ""}), Read(""));
  EXPECT_EQ((Header{0, "", "", ""}), Read("add"));
  EXPECT_EQ((Header{0, "", "", ""}), Read("add "));
  EXPECT_EQ((Header{1, "", "", ""}), Read("add 1"));
  EXPECT_EQ((Header{1, "o=acme", "", ""}), Read("add 1 o=acme"));
  EXPECT_EQ((Header{1, "o=acme", "cn=admin,o=acme", ""}), Read("add 1 o=acme cn=admin,o=acme"));
  EXPECT_EQ((Header{1, "o=acme", "cn=admin,o=acme", "127.0.0.1"}),
            Read("add 1 o=acme cn=admin,o=acme IP=127.0.0.1:389"));
}

TEST(ChangeHeader, ASuffixMayHoldAHundredBlanks) {
  const auto header = [](int blanks) {
    const std::string suffix =
        "o=acme" + std::string(static_cast<std::size_t>(blanks), ' ') + "inc";
    return Read("add 1 " + suffix + " cn=x", "cn=bob," + suffix);
  };
  EXPECT_EQ("cn=x", header(100).user);
  EXPECT_EQ("", header(101).user);
}

// Trying each of them would take an hour.
TEST(ChangeHeader, MegabytesOfBlanksAreRead) {
  std::string blanks;
  for (int i = 0; i < 500'000; ++i) blanks += ", ";
  const Header header = Read("add 1 " + blanks + "IP=10.0.0.1:1 conn=1", blanks + "o=acme");
  EXPECT_EQ("10.0.0.1", header.address);
  EXPECT_EQ("", header.user);
}

TEST(ChangeHeader, ATimeThatIsNoneIsZero) {
  EXPECT_EQ(0, Read("add then o=acme cn=admin,o=acme").time);
  EXPECT_EQ(0, Read("add 99999999999999999999999999 o=acme cn=admin,o=acme").time);
}

TEST(ChangeHeader, EveryBeginningCanBeRead) {
  const std::string comment =
      "modify 1795207563 o=acme cn=John Q Smith,o=acme IP=[::1]:35568 conn=1000";
  for (std::size_t size = 0; size <= comment.size(); ++size) {
    const std::string part(comment, 0, size);
    const Header header = Read(part);
    EXPECT_LE(header.time, 1795207563) << part;
    EXPECT_LE(header.suffix.size() + header.user.size() + header.address.size(), size) << part;
  }
}

TEST(GeneralizedTime, IsRead) {
  EXPECT_EQ(1795207563, ReadGeneralizedTime("20261120204603Z"));
  EXPECT_EQ(1, ReadGeneralizedTime("19700101000001Z"));
  EXPECT_EQ(951782400, ReadGeneralizedTime("20000229000000Z"));
  EXPECT_EQ(1795207563, ReadGeneralizedTime("20261120204603.200270Z"));
}

TEST(GeneralizedTime, IsUtcWhateverTheLocalZone) {
  const TimeZone newYork("America/New_York");
  tzset();
  EXPECT_EQ(1795207563, ReadGeneralizedTime("20261120204603Z"));
  EXPECT_EQ(1782000000, ReadGeneralizedTime("20260621000000Z"));
}

TEST(GeneralizedTime, IsZeroForWhatIsNone) {
  for (const char* const text :
       {"", "Z", "2026", "20261120204603", "2026112020460Z", "20261320204603Z", "20261120254603Z",
        "20261120206603Z", "x0261120204603Z", "-0261120204603Z", "20261120204603+0100", "now"}) {
    EXPECT_EQ(0, ReadGeneralizedTime(text)) << text;
  }
}

}  // namespace
}  // namespace wkagent::test
