#include "core/bounded_copy.h"

#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace wkagent {
namespace {

// A buffer of 8 characters between two guards.
struct Guarded {
  char before[4] = {'#', '#', '#', '#'};
  char buffer[8] = {'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'};
  char after[4] = {'#', '#', '#', '#'};

  [[nodiscard]] bool IsIntact() const {
    return std::memcmp(before, "####", 4) == 0 && std::memcmp(after, "####", 4) == 0;
  }
};

TEST(CopyBounded, CopiesAsMuchAsFits) {
  for (std::size_t length = 0; length <= 20; ++length) {
    const std::string text(length, 'a');
    Guarded guarded;
    CopyBounded(guarded.buffer, text.c_str());
    EXPECT_EQ(guarded.buffer, text.substr(0, 7));
    EXPECT_TRUE(guarded.IsIntact());
  }
}

TEST(CopyBounded, NullGivesAnEmptyText) {
  Guarded guarded;
  CopyBounded(guarded.buffer, nullptr);
  EXPECT_STREQ(guarded.buffer, "");
}

TEST(CopyBounded, ASingleCharacterHoldsTheTerminator) {
  char buffer[1] = {'x'};
  CopyBounded(buffer, "text");
  EXPECT_EQ(buffer[0], '\0');
}

TEST(CopyBounded, TakesItsOwnTextOrAPartOfIt) {
  char buffer[8] = "abcdefg";
  CopyBounded(buffer, buffer);
  EXPECT_STREQ(buffer, "abcdefg");
  CopyBounded(buffer, buffer + 2);
  EXPECT_STREQ(buffer, "cdefg");
}

TEST(CopyBounded, ReadsNoFurtherThanItCopies) {
  const std::unique_ptr<char[]> unterminated(new char[7]);
  std::memset(unterminated.get(), 'a', 7);
  Guarded guarded;
  CopyBounded(guarded.buffer, unterminated.get());
  EXPECT_STREQ(guarded.buffer, "aaaaaaa");
}

TEST(FormatBounded, FormatsAsMuchAsFits) {
  for (int number : {0, 999, 9999, 99999, 2147483647}) {
    Guarded guarded;
    FormatBounded(guarded.buffer, "n=%d.", number);
    EXPECT_EQ(guarded.buffer, ("n=" + std::to_string(number) + ".").substr(0, 7));
    EXPECT_TRUE(guarded.IsIntact());
  }
}

TEST(FormatBounded, TextOfAnArgumentIsNoFormat) {
  Guarded guarded;
  FormatBounded(guarded.buffer, "%s", "%s%n");
  EXPECT_STREQ(guarded.buffer, "%s%n");
}

TEST(BoundedView, EndsAtTheTerminatorOrWithTheBuffer) {
  char buffer[4] = {'a', 'b', '\0', 'c'};
  EXPECT_EQ(BoundedView(buffer), "ab");
  buffer[2] = 'x';
  EXPECT_EQ(BoundedView(buffer), "abxc");
  buffer[0] = '\0';
  EXPECT_EQ(BoundedView(buffer), "");
}

TEST(CopyField, TerminatesAFullField) {
  const char field[4] = {'a', 'b', 'c', 'd'};
  char text[5] = {'x', 'x', 'x', 'x', 'x'};
  CopyField(text, field);
  EXPECT_STREQ(text, "abcd");
}

TEST(CopyField, StopsAtTheTerminator) {
  const char field[4] = {'a', '\0', 'c', 'd'};
  char text[5] = {'x', 'x', 'x', 'x', 'x'};
  CopyField(text, field);
  EXPECT_STREQ(text, "a");
}

}  // namespace
}  // namespace wkagent
