#include "filter/list_matcher.h"

#include <clocale>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filter/entity_match.h"
#include "filter_models.h"
#include "filter_support.h"
#include "support/sanitized.h"

namespace wkagent::test {
namespace {

using std::string_literals::operator""s;

#ifdef WKAGENT_TEST_SANITIZED
constexpr int kCases = 100'000;
#else
constexpr int kCases = 1'000'000;
#endif

// A list, its matcher and the naive reading of the same entries.
class ListMatcherCases : public ::testing::Test {
 protected:
  void Add(const std::string& entry) {
    entries_.push_back(entry);
    AddBlock(list_, entry);
  }

  void Clear() {
    entries_.clear();
    list_.ClearList();
  }

  // Compares the answer with the naive one, and the cursor with that of reading entry by entry.
  void Compare(const std::string& value) {
    const bool occurs = matcher_.Occurs(value);
    const tagLinkList* const current = list_.current;
    const tagLinkList* const last = list_.last;
    ASSERT_EQ(NaiveEntityMatch(value, entries_), occurs) << '"' << value << '"';
    ASSERT_EQ(occurs, EntityOccurs(value, list_));
    ASSERT_EQ(list_.current, current) << '"' << value << '"';
    ASSERT_EQ(list_.last, last);
    ++(occurs ? occurring_ : other_);
  }

  std::vector<std::string> entries_;
  CLinkList list_;
  ListMatcher matcher_{list_};
  int occurring_ = 0;
  int other_ = 0;
};

// Random lists and values of few letters, so that entries occur in values.
class RandomLists {
 public:
  // Entries of any length from 0 to 400, most of them short; some with zero bytes in them.
  std::string Entry() {
    std::string entry = random_.Word(Letters(), Length(400));
    if (!entry.empty() && random_.OneIn(6)) {
      entry[static_cast<std::size_t>(random_.Below(static_cast<int>(entry.size())))] = '\0';
    }
    return entry;
  }

  // A value without zero bytes. It may hold a part of an entry, which makes long ones occur.
  std::string Value(const std::vector<std::string>& entries) {
    std::string value = random_.Word(Letters(), Length(60));
    if (!entries.empty() && random_.OneIn(2)) {
      std::string entry = entries[static_cast<std::size_t>(Below(entries.size()))];
      entry.resize(std::min(entry.size(), entry.find('\0')));
      if (random_.OneIn(4)) entry = entry.substr(static_cast<std::size_t>(Below(entry.size() + 1)));
      value.insert(static_cast<std::size_t>(Below(value.size() + 1)), entry);
    }
    return value;
  }

  std::size_t Below(std::size_t limit) {
    return static_cast<std::size_t>(random_.Below(static_cast<int>(limit)));
  }
  bool OneIn(int cases) { return random_.OneIn(cases); }

 private:
  std::string_view Letters() {
    if (random_.OneIn(3)) return "aA";
    return random_.OneIn(2) ? "abAB." : "abcdefghij.XYZ\xC3\xA9\xFF\x01";
  }

  int Length(int limit) {
    if (random_.OneIn(12)) return random_.Below(limit + 1);
    return random_.OneIn(4) ? random_.Below(40) : random_.Below(8);
  }

  Random random_;
};

TEST_F(ListMatcherCases, AgreeWithTheNaiveReadingOfRandomLists) {
  RandomLists random;
  for (int i = 0; i < kCases;) {
    Clear();
    const std::size_t count = random.OneIn(10) ? random.Below(120) : random.Below(7);
    while (entries_.size() < count) Add(random.Entry());
    for (int values = 0; values < 40; ++values, ++i) {
      ASSERT_NO_FATAL_FAILURE(Compare(random.Value(entries_))) << count << " entries";
    }
  }
  EXPECT_GT(occurring_, kCases / 10);
  EXPECT_GT(other_, kCases / 10);
}

TEST_F(ListMatcherCases, AgreeForEachLengthOfAnEntry) {
  for (int length = 0; length <= 400; ++length) {
    Clear();
    std::string entry(static_cast<std::size_t>(length), 'x');
    if (length > 0) entry.back() = 'y';
    Add(entry);
    for (const std::string& value :
         {entry, "ab" + entry + "cd", entry.substr(0, entry.size() / 2), ""s}) {
      ASSERT_NO_FATAL_FAILURE(Compare(value)) << length;
    }
  }
}

TEST_F(ListMatcherCases, AgreeForEachByte) {
  for (int entry = 1; entry < 256; ++entry) {
    Clear();
    Add(std::string(1, static_cast<char>(entry)));
    for (int value = 1; value < 256; ++value) {
      ASSERT_EQ(std::toupper(entry) == std::toupper(value),
                matcher_.Occurs(std::string(1, static_cast<char>(value))))
          << entry << " " << value;
    }
  }
}

TEST_F(ListMatcherCases, FollowEveryChangeOfTheList) {
  Add("ann");
  Add("bob");
  EXPECT_TRUE(matcher_.Occurs("bob"));
  EXPECT_FALSE(matcher_.Occurs("carol"));
  AddBlock(list_, "carol");
  EXPECT_TRUE(matcher_.Occurs("carol"));
  EXPECT_EQ(nullptr, list_.current);
  std::string other = "dave!";
  list_.UpdateNode(other.data(), 5);
  EXPECT_FALSE(matcher_.Occurs("carol"));
  EXPECT_TRUE(matcher_.Occurs("DAVE!"));
  list_.FreeNode(list_.GetHeadListNode());
  EXPECT_FALSE(matcher_.Occurs("ann"));
  list_.ClearList();
  EXPECT_FALSE(matcher_.Occurs("bob"));
  EXPECT_FALSE(matcher_.Occurs(""));
}

TEST_F(ListMatcherCases, FollowTheOrderOfTheList) {
  // What is looked for after the longer one depends on which comes first.
  Add("abcd");
  Add("xy");
  EXPECT_FALSE(matcher_.Occurs("xy"));
  EXPECT_TRUE(matcher_.Occurs("xycd"));
  list_.AddListNode(list_.GetHeadListNode());
  EXPECT_TRUE(matcher_.Occurs("xy"));
}

TEST_F(ListMatcherCases, AgreeForManyEntriesThatShareMostOfTheirText) {
  for (int i = 0; i < 3000; ++i) Add("user" + std::to_string(i) + ".sales.acme");
  for (int i = 0; i < 4000; i += 37) {
    ASSERT_NO_FATAL_FAILURE(Compare("USER" + std::to_string(i) + ".Sales.Acme"));
    ASSERT_NO_FATAL_FAILURE(Compare("user" + std::to_string(i) + ".sales.acm"));
  }
  EXPECT_GT(occurring_, 50);
  EXPECT_GT(other_, 50);
}

}  // namespace
}  // namespace wkagent::test
