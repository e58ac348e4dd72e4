#include "monitor/wildcard.h"

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/random_seed.h"

namespace wkagent::test {
namespace {

// The rules, by recursion.
bool NaiveMatch(std::string_view pattern, std::string_view name) {
  if (pattern.empty()) return name.empty();
  if (pattern[0] == '*') {
    return NaiveMatch(pattern.substr(1), name) ||
           (!name.empty() && NaiveMatch(pattern, name.substr(1)));
  }
  return !name.empty() && (pattern[0] == '?' || pattern[0] == name[0]) &&
         NaiveMatch(pattern.substr(1), name.substr(1));
}

bool Matches(const std::string& pattern, const std::string& name) {
  return MatchesWildcard(pattern.c_str(), name.c_str());
}

// Every text of these letters with up to `length` of them.
std::vector<std::string> AllTexts(std::string_view letters, std::size_t length) {
  std::vector<std::string> texts = {""};
  for (std::size_t begin = 0; length > 0; --length) {
    const std::size_t end = texts.size();
    for (; begin < end; ++begin) {
      for (const char letter : letters) texts.push_back(texts[begin] + letter);
    }
  }
  return texts;
}

void CompareAll(const std::vector<std::string>& patterns, const std::vector<std::string>& names) {
  int matches = 0;
  for (const std::string& pattern : patterns) {
    for (const std::string& name : names) {
      const bool expected = NaiveMatch(pattern, name);
      ASSERT_EQ(Matches(pattern, name), expected) << pattern << " on " << name;
      matches += expected ? 1 : 0;
    }
  }
  EXPECT_GT(matches, 1000);
}

TEST(Wildcard, StarMatchesAnyRunAlsoNone) {
  for (const char* name : {"", "a", "abc", ".", "*", "a b"}) EXPECT_TRUE(Matches("*", name));
  EXPECT_TRUE(Matches("*.xml", "a.xml"));
  EXPECT_TRUE(Matches("*.xml", ".xml"));
  EXPECT_FALSE(Matches("*.xml", "a.xmlx"));
  EXPECT_FALSE(Matches("*.xml", "axml"));
}

TEST(Wildcard, QuestionMarkMatchesExactlyOneCharacter) {
  EXPECT_TRUE(Matches("log?.txt", "log1.txt"));
  EXPECT_TRUE(Matches("log?.txt", "log?.txt"));
  EXPECT_FALSE(Matches("log?.txt", "log.txt"));
  EXPECT_FALSE(Matches("log?.txt", "log12.txt"));
  EXPECT_FALSE(Matches("?", ""));
}

TEST(Wildcard, StarsGiveBackWhatTheyTookTooMuch) {
  for (const char* name : {"axxbyyc", "abc", "abbc", "abcbc", "aabbcc"}) {
    EXPECT_TRUE(Matches("a*b*c", name)) << name;
  }
  for (const char* name : {"abca", "ab", "bc", "acb", ""}) {
    EXPECT_FALSE(Matches("a*b*c", name)) << name;
  }
}

TEST(Wildcard, OtherCharactersMatchThemselvesWithCase) {
  EXPECT_TRUE(Matches("a[b].\\c", "a[b].\\c"));
  EXPECT_FALSE(Matches("[ab]", "a"));
  EXPECT_FALSE(Matches("\\*", "*"));
  EXPECT_FALSE(Matches("a.xml", "A.xml"));
  EXPECT_FALSE(Matches("*.XML", "a.xml"));
}

TEST(Wildcard, PatternCoversTheWholeName) {
  EXPECT_FALSE(Matches("a", "ab"));
  EXPECT_FALSE(Matches("b", "ab"));
  EXPECT_FALSE(Matches("ab", "a"));
  EXPECT_FALSE(Matches("", "a"));
}

TEST(Wildcard, EmptyNameMatchesAnEmptyPatternOrStarsAlone) {
  for (const char* pattern : {"", "*", "**", "***"}) EXPECT_TRUE(Matches(pattern, "")) << pattern;
  for (const char* pattern : {"?", "a", "*?", "?*", "*a", "a*"}) {
    EXPECT_FALSE(Matches(pattern, "")) << pattern;
  }
}

TEST(Wildcard, CharactersAreBytes) {
  EXPECT_TRUE(Matches("??", "\xc3\xbc"));
  EXPECT_FALSE(Matches("?", "\xc3\xbc"));
  EXPECT_TRUE(Matches("\xff*", "\xff\x80"));
}

TEST(Wildcard, NullMatchesNothing) {
  EXPECT_FALSE(MatchesWildcard(nullptr, "a"));
  EXPECT_FALSE(MatchesWildcard("*", nullptr));
  EXPECT_FALSE(MatchesWildcard(nullptr, nullptr));
}

TEST(Wildcard, AllShortPatternsMatchAsByRecursion) {
  CompareAll(AllTexts("ab*?", 5), AllTexts("ab", 6));
}

TEST(Wildcard, NamesMayHoldStarsAndQuestionMarks) {
  CompareAll(AllTexts("a*?", 5), AllTexts("a*?", 5));
}

TEST(Wildcard, RandomPatternsMatchAsByRecursion) {
  std::mt19937 random(RandomSeed());
  const auto text = [&](std::string_view letters, std::size_t limit) {
    std::string made(random() % limit, ' ');
    for (char& letter : made) letter = letters[random() % letters.size()];
    return made;
  };
  int matches = 0;
  for (int round = 0; round < 200'000; ++round) {
    const std::string pattern = text("ab***?", 10);
    const std::string name = text("ab", 16);
    const bool expected = NaiveMatch(pattern, name);
    ASSERT_EQ(Matches(pattern, name), expected) << pattern << " on " << name;
    matches += expected ? 1 : 0;
  }
  EXPECT_GT(matches, 1000);
}

// What tries every division of the name would not come to an end.
TEST(Wildcard, ManyStarsOnALongNameComeToAnEnd) {
  std::string pattern;
  for (int i = 0; i < 100; ++i) pattern += "*a";
  const std::string name(10'000, 'a');
  EXPECT_TRUE(Matches(pattern, name));
  EXPECT_FALSE(Matches(pattern + "b", name));
  EXPECT_TRUE(Matches(pattern + "*b", name + "b"));
}

}  // namespace
}  // namespace wkagent::test
