#include "agent/distinguished_name.h"

#include <string>

#include <gtest/gtest.h>

namespace wkagent::test {
namespace {

struct Name {
  std::string_view name;
  std::string_view dotted;
};

const Name kNames[] = {
    {"", ""},
    {"o=acme", "acme"},
    {"cn=jsmith,ou=sales,o=acme", "jsmith.sales.acme"},
    {"CN=JSmith,OU=Sales,O=Acme", "JSmith.Sales.Acme"},
    {"uid=jsmith,dc=example,dc=com", "jsmith.example.com"},
    {"cn={4}acme,cn=schema,cn=config", "{4}acme.schema.config"},
    {"2.5.4.3=jsmith,o=acme", "jsmith.acme"},

    // Escapes.
    {R"(cn=Smith\, John,o=acme)", "Smith, John.acme"},
    {R"(cn=Smith\2C John,o=acme)", "Smith, John.acme"},
    {R"(cn=Smith\2c John,o=acme)", "Smith, John.acme"},
    {R"(cn=C\+\+,o=acme)", "C++.acme"},
    {R"(cn=C\2B\2B,o=acme)", "C++.acme"},
    {R"(cn=a\=b,o=acme)", "a=b.acme"},
    {R"(cn=a=b,o=acme)", "a=b.acme"},
    {R"(cn=a\"b\"c,o=acme)", "a\"b\"c.acme"},
    {R"(cn=a\\,o=acme)", R"(a\.acme)"},
    {R"(cn=a\\\,b,o=acme)", R"(a\,b.acme)"},
    {R"(cn=a\;b\<c\>,o=acme)", "a;b<c>.acme"},
    {R"(cn=\#1,o=acme)", "#1.acme"},
    {R"(cn=\ a\ ,o=acme)", " a .acme"},
    {R"(cn=\20a\20,o=acme)", " a .acme"},
    {R"(cn=Andr\C3\A9,o=acme)", "Andr\u00E9.acme"},
    {R"(cn=Andr\c3\a9,o=acme)", "Andr\u00E9.acme"},
    {"cn=Andr\u00E9,o=acme", "Andr\u00E9.acme"},
    {R"(cn=Lu\C4\8Di\C4\87)", "Lu\u010Di\u0107"},
    {R"(cn=line\0Dbreak)", "line\rbreak"},

    // The quoted form of older names.
    {R"(cn="Smith, John",o=acme)", "Smith, John.acme"},
    {R"(cn="a+b;c=d",o=acme)", "a+b;c=d.acme"},
    {R"(cn=" a ",o=acme)", " a .acme"},
    {R"(cn="say \"hi\"",o=acme)", "say \"hi\".acme"},
    {R"(cn="",o=acme)", ".acme"},

    // More than one value in one RDN.
    {"cn=jsmith+sn=smith,o=acme", "jsmith+smith.acme"},
    {"cn=jsmith + sn=smith , o=acme", "jsmith+smith.acme"},
    {R"(cn=a\+b+sn=c,o=acme)", "a+b+c.acme"},

    // Blanks around, and the separator of older names.
    {"cn=jsmith, ou=sales , o=acme", "jsmith.sales.acme"},
    {"cn = jsmith , o = acme", "jsmith.acme"},
    {"  cn=jsmith,o=acme  ", "jsmith.acme"},
    {"cn=John  Smith,o=acme", "John  Smith.acme"},
    {"cn=jsmith;o=acme", "jsmith.acme"},
    {R"(cn=a\\ ,o=acme)", R"(a\.acme)"},

    // Odd ones.
    {"cn=,o=acme", ".acme"},
    {"cn=a.b,o=acme", "a.b.acme"},
    {"jsmith,acme", "jsmith.acme"},
    {"cn=a\\", "a\\"},
    {R"(cn=a\4)", "a4"},
    {R"(cn=a\zz,o=acme)", "azz.acme"},
};

TEST(DottedName, JoinsTheUnescapedValues) {
  for (const auto& [name, dotted] : kNames) EXPECT_EQ(dotted, DottedName(name)) << name;
}

TEST(DottedName, KeepsAZeroByte) {
  EXPECT_EQ(std::string("a\0b.acme", 8), DottedName(R"(cn=a\00b,o=acme)"));
}

// No text, however broken, may be read beyond its end; the sanitizers would tell.
TEST(DottedName, TakesEveryBeginningOfAName) {
  const std::string name = R"(cn=Smith\, J\C3\A9 \+ "x, y"+sn=" q\"",ou=\ sales\\ , o=acme)";
  for (std::size_t size = 0; size <= name.size(); ++size) {
    const std::string part(name, 0, size);
    EXPECT_LE(DottedName(part).size(), size);
    EXPECT_TRUE(SameName(part, part)) << part;
  }
}

TEST(ParentName, LeavesTheFirstRdnOut) {
  EXPECT_EQ("ou=sales,o=acme", ParentName("cn=jsmith,ou=sales,o=acme"));
  EXPECT_EQ("ou=sales,o=acme", ParentName("cn=jsmith, ou=sales,o=acme"));
  EXPECT_EQ("o=acme", ParentName("cn=jsmith+sn=smith,o=acme"));
}

TEST(ParentName, TakesNoEscapedOrQuotedCommaForAnEnd) {
  EXPECT_EQ("o=acme", ParentName(R"(cn=Smith\, John,o=acme)"));
  EXPECT_EQ("o=acme", ParentName(R"(cn=Smith\2C John,o=acme)"));
  EXPECT_EQ("o=acme", ParentName(R"(cn="Smith, John",o=acme)"));
  EXPECT_EQ("o=acme", ParentName(R"(cn=a\\,o=acme)"));
}

TEST(ParentName, IsEmptyForASingleRdn) {
  EXPECT_EQ("", ParentName("o=acme"));
  EXPECT_EQ("", ParentName(""));
}

TEST(SameName, LooksAtNeitherCaseNorBlanks) {
  EXPECT_TRUE(SameName("cn=jsmith,o=acme", "CN=JSmith,O=ACME"));
  EXPECT_TRUE(SameName("cn=jsmith,o=acme", "cn = jsmith , o=acme"));
  EXPECT_TRUE(SameName("", ""));
}

TEST(SameName, SeesThroughEscapes) {
  EXPECT_TRUE(SameName(R"(cn=Smith\, John,o=acme)", R"(cn=Smith\2C John,o=acme)"));
  EXPECT_TRUE(SameName(R"(cn="Smith, John",o=acme)", R"(cn=Smith\, John,o=acme)"));
  EXPECT_TRUE(SameName(R"(cn=Andr\C3\A9)", "cn=Andr\u00E9"));
  EXPECT_TRUE(SameName(R"(cn=\ a\ ,o=acme)", R"(cn=\20a\20,o=acme)"));
}

TEST(SameName, TellsOtherTypesValuesAndStructureApart) {
  EXPECT_FALSE(SameName("cn=jsmith,o=acme", "cn=jsmith,o=acm"));
  EXPECT_FALSE(SameName("cn=jsmith,o=acme", "uid=jsmith,o=acme"));
  EXPECT_FALSE(SameName("cn=jsmith,o=acme", "cn=jsmith"));
  EXPECT_FALSE(SameName("cn=jsmith,o=acme", ""));
  EXPECT_FALSE(SameName("cn=a+sn=b,o=acme", "cn=a,sn=b,o=acme"));
  EXPECT_FALSE(SameName(R"(cn=a\,o=acme)", "cn=a,o=acme"));
  EXPECT_FALSE(SameName(R"(cn=a\+sn=b)", "cn=a+sn=b"));
}

TEST(SameName, LooksBehindAZeroByte) {
  EXPECT_FALSE(SameName(R"(cn=a\00b)", R"(cn=a\00c)"));
  EXPECT_TRUE(SameName(R"(cn=a\00b)", R"(cn=A\00B)"));
}

TEST(SameName, EscapedControlCharactersMakeNoRdn) {
  EXPECT_FALSE(SameName(R"(cn=a\03\01o\02acme)", "cn=a,o=acme"));
  EXPECT_FALSE(SameName(R"(cn=a\01sn\02b)", "cn=a+sn=b"));
}

TEST(SameName, AnRdnsValuesHaveNoOrder) {
  EXPECT_TRUE(SameName("cn=jsmith+sn=smith,o=acme", "sn=smith+cn=jsmith,o=acme"));
}

TEST(IsAtOrBelow, HoldsForTheNameItselfAndAllBelow) {
  EXPECT_TRUE(IsAtOrBelow("o=acme", "o=acme"));
  EXPECT_TRUE(IsAtOrBelow("ou=sales,o=acme", "O=ACME"));
  EXPECT_TRUE(IsAtOrBelow("cn=jsmith,ou=sales,o=acme", "o=acme"));
  EXPECT_TRUE(IsAtOrBelow("cn=jsmith,ou=sales,o=acme", "ou=sales, o=acme"));
  EXPECT_TRUE(IsAtOrBelow("cn=x,o=Smith\\2C Inc", R"(o=smith\, inc)"));
}

TEST(IsAtOrBelow, HoldsBelowTheRoot) {
  EXPECT_TRUE(IsAtOrBelow("o=acme", ""));
  EXPECT_TRUE(IsAtOrBelow("", ""));
}

TEST(IsAtOrBelow, FailsForOtherNames) {
  EXPECT_FALSE(IsAtOrBelow("o=acme", "ou=sales,o=acme"));
  EXPECT_FALSE(IsAtOrBelow("cn=x,o=acme", "o=other"));
  EXPECT_FALSE(IsAtOrBelow("", "o=acme"));
}

TEST(IsAtOrBelow, DoesNotTakeTheEndOfAnRdnForAnRdn) {
  EXPECT_FALSE(IsAtOrBelow("foo=acme", "o=acme"));
  EXPECT_FALSE(IsAtOrBelow(R"(cn=a\,o=acme)", "o=acme"));
  EXPECT_FALSE(IsAtOrBelow("cn=a+o=acme", "o=acme"));
  EXPECT_FALSE(IsAtOrBelow(R"(cn=a\03\01o\02acme)", "o=acme"));
  EXPECT_FALSE(IsAtOrBelow(R"(cn="a,o=acme)", "o=acme"));
  EXPECT_FALSE(IsAtOrBelow(R"(cn="a,o=acme")", "o=acme\""));
}

TEST(IsAtOrBelow, SeesTheCommaBehindAnEscapedOrQuotedOne) {
  EXPECT_TRUE(IsAtOrBelow(R"(cn=a\\,o=acme)", "o=acme"));
  EXPECT_TRUE(IsAtOrBelow(R"(cn="a,b",o=acme)", "o=acme"));
  EXPECT_TRUE(IsAtOrBelow(",o=acme", "o=acme"));
}

}  // namespace
}  // namespace wkagent::test
