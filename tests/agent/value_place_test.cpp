#include "agent/check/value_place.h"

#include <gtest/gtest.h>

namespace wkagent::test {
namespace {

TEST(ValuePlace, QuotesAsTheFileHasIt) {
  EXPECT_EQ("User Name=\"bob\"", Quote({"User", "Name"}, "bob"));
  EXPECT_EQ("<To>a@acme</To>", Quote({"To"}, "a@acme"));
  EXPECT_EQ("Name=\"bob\"", Write({"User", "Name"}, "bob"));
  EXPECT_EQ("<To>a@acme</To>", Write({"To"}, "a@acme"));
}

TEST(ValuePlace, WritesWhatXmlCanTake) {
  EXPECT_EQ("Name=\"a&amp;b&lt;c&quot;d>e\"", Write({"User", "Name"}, "a&b<c\"d>e"));
}

TEST(ValuePlace, KeepsTheTerminalSafe) {
  EXPECT_EQ("\"a [31mb c d\"", Quote("a\x1b[31mb\nc\x7f"
                                     "d"));
  EXPECT_EQ("\"a 31m\"", Quote("a\xC2\x9B"
                               "31m"));
  EXPECT_EQ("\"\xC2\xA0\xC3\xA4\"", Quote("\xC2\xA0\xC3\xA4"));
}

TEST(ValuePlace, CutsQuotesAtTheBoundaryOfACharacter) {
  EXPECT_EQ("\"" + std::string(64, 'x') + "\"", Quote(std::string(64, 'x')));
  EXPECT_EQ("\"" + std::string(64, 'x') + "...\"", Quote(std::string(65, 'x')));
  EXPECT_EQ("\"" + std::string(63, 'x') + "...\"", Quote(std::string(63, 'x') + "\xC3\xA4"));
}

TEST(ValuePlace, NeverCutsWhatIsToBeWritten) {
  const std::string text(300, 'x');
  EXPECT_EQ("<To>" + text + "</To>", Write({"To"}, text));
}

TEST(ValuePlace, BlanksAreBlanksTabsAndEndsOfLines) {
  EXPECT_EQ("a b", WithoutBlanks("\r\n\t a b \n"));
  EXPECT_EQ("", WithoutBlanks(" \n"));
  EXPECT_EQ("", WithoutBlanks(""));
}

}  // namespace
}  // namespace wkagent::test
