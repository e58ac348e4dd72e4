#include "agent/check/name_distance.h"

#include <gtest/gtest.h>

namespace wkagent::test {
namespace {

const std::vector<std::string_view> kNames = {"Users", "User", "Objects", "Object",
                                              "SNMP",  "SMTP", "To"};

TEST(NameDistance, CountsLettersInsertedRemovedAndReplaced) {
  EXPECT_EQ(0U, NameDistance("Filter", "Filter"));
  EXPECT_EQ(1U, NameDistance("Filtr", "Filter"));
  EXPECT_EQ(1U, NameDistance("Fillter", "Filter"));
  EXPECT_EQ(1U, NameDistance("Fitter", "Filter"));
  EXPECT_EQ(2U, NameDistance("Fitler", "Filter"));
  EXPECT_EQ(6U, NameDistance("", "Filter"));
  EXPECT_EQ(6U, NameDistance("Filter", ""));
  EXPECT_EQ(3U, NameDistance("kitten", "sitting"));
}

TEST(NameDistance, DisregardsCase) { EXPECT_EQ(0U, NameDistance("fILTER", "Filter")); }

TEST(NearestName, IsTheNearest) {
  EXPECT_EQ("Users", NearestName("users", kNames));
  EXPECT_EQ("User", NearestName("Usr", kNames));
  EXPECT_EQ("Objects", NearestName("Objjects", kNames));
}

TEST(NearestName, IsTheFirstOfSeveral) { EXPECT_EQ("SNMP", NearestName("SXXP", kNames)); }

TEST(NearestName, IsNoneFartherThanTwoLetters) {
  EXPECT_EQ("Objects", NearestName("Objcts1", kNames));
  EXPECT_EQ("", NearestName("Obccts12", kNames));
}

TEST(NearestName, SharesALetter) {
  EXPECT_EQ("", NearestName("CC", kNames));
  EXPECT_EQ("To", NearestName("Ti", kNames));
  EXPECT_EQ("", NearestName("", kNames));
}

}  // namespace
}  // namespace wkagent::test
