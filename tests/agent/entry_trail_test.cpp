#include "agent/check/entry_trail.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "support/random_seed.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

// True when one of the texts that the trail names occurs in the value; letters are lower case.
bool Occurs(const std::vector<std::string>& entries, const std::string& value) {
  EntryTrail trail;
  for (const std::string& entry : entries) {
    if (value.find(trail.Next(entry, 1)) != std::string::npos) return true;
  }
  return false;
}

bool FilterMatches(const std::vector<std::string>& entries, const std::string& value) {
  WKFilterStatement statement;
  CLinkList list;
  for (const std::string& entry : entries) {
    list.AddNode(const_cast<char*>(entry.data()), static_cast<int>(entry.size()));
  }
  return statement.EntityMatch(Text(value), list);
}

std::string RandomWord(std::mt19937& random, unsigned longest) {
  std::string word(random() % (longest + 1), 'a');
  for (char& letter : word) letter = static_cast<char>('a' + random() % 2);
  return word;
}

TEST(EntryTrail, AgreesWithTheFilter) {
  std::mt19937 random(RandomSeed());
  int matches = 0;
  for (int round = 0; round < 20000; ++round) {
    std::vector<std::string> entries(random() % 4);
    for (std::string& entry : entries) entry = RandomWord(random, 6);
    const std::string value = RandomWord(random, 8);
    const bool matched = FilterMatches(entries, value);
    ASSERT_EQ(matched, Occurs(entries, value)) << ::testing::PrintToString(entries) << value;
    matches += matched ? 1 : 0;
  }
  EXPECT_GT(matches, 1000);
  EXPECT_LT(matches, 19000);
}

TEST(EntryTrail, EndsWhereTheFilterDoes) {
  const std::string fits(EntryTrail::kLongestEntry, 'x');
  const std::string tooLong(EntryTrail::kLongestEntry + 1, 'x');
  EXPECT_TRUE(FilterMatches({fits}, fits));
  EXPECT_FALSE(FilterMatches({tooLong}, tooLong));
  EXPECT_FALSE(FilterMatches({tooLong, "bob"}, "bob"));
}

TEST(EntryTrail, NamesTheFirstLongerEntry) {
  EntryTrail trail;
  trail.Next("ab", 5);
  trail.Next("abcd", 6);
  trail.Next("abcde", 7);
  EXPECT_EQ(5, trail.FirstLonger(1));
  EXPECT_EQ(6, trail.FirstLonger(2));
  EXPECT_EQ(7, trail.FirstLonger(4));
  EXPECT_EQ(0, trail.FirstLonger(5));
}

}  // namespace
}  // namespace wkagent::test
