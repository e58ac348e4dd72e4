#include "core/literal_format.h"

#include <cstdio>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/random_seed.h"

namespace wkagent {
namespace {

// What printf makes of a text that holds no conversion but "%%".
std::string Printed(const std::string& format) {
  char text[256];
  int (*const print)(char*, std::size_t, const char*, ...) = &std::snprintf;
  print(text, sizeof(text), format.c_str());
  return text;
}

TEST(LiteralFormat, TwoPercentSignsAreOne) {
  EXPECT_EQ(ExpandLiteralFormat("%%"), "%");
  EXPECT_EQ(ExpandLiteralFormat("%%%%"), "%%");
  EXPECT_EQ(ExpandLiteralFormat("100%% of 5%%\n"), "100% of 5%\n");
}

TEST(LiteralFormat, AConversionStaysAsItStands) {
  for (const char* text : {"%s", "%d of %d", "%n", "%-*.*lf", "%2$s", "%1000000d", "% d"}) {
    EXPECT_EQ(ExpandLiteralFormat(text), text);
  }
}

TEST(LiteralFormat, PercentSignsPairFromTheLeft) {
  EXPECT_EQ(ExpandLiteralFormat("%%s"), "%s");
  EXPECT_EQ(ExpandLiteralFormat("%%%s"), "%%s");
  EXPECT_EQ(ExpandLiteralFormat("%%%"), "%%");
  EXPECT_EQ(ExpandLiteralFormat("% %%"), "% %");
}

TEST(LiteralFormat, ALonePercentSignStays) {
  EXPECT_EQ(ExpandLiteralFormat("%"), "%");
  EXPECT_EQ(ExpandLiteralFormat("100%"), "100%");
  EXPECT_EQ(ExpandLiteralFormat("100% done"), "100% done");
}

TEST(LiteralFormat, OtherTextStays) {
  EXPECT_EQ(ExpandLiteralFormat(""), "");
  EXPECT_EQ(ExpandLiteralFormat("plain\n"), "plain\n");
  EXPECT_EQ(ExpandLiteralFormat(std::string("a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(ExpandLiteralFormat("\xc3\xa9\xff"), "\xc3\xa9\xff");
}

TEST(LiteralFormat, WithoutConversionsItIsWhatPrintfPrints) {
  std::mt19937 random(test::RandomSeed());
  for (int round = 0; round < 10000; ++round) {
    std::string format;
    for (unsigned piece = static_cast<unsigned>(random() % 12); piece > 0; --piece) {
      constexpr const char* kPieces[] = {"%%", "%%", "s", "d", "n", " ", "\n", "\xff"};
      format += kPieces[random() % std::size(kPieces)];
    }
    ASSERT_EQ(ExpandLiteralFormat(format), Printed(format)) << format;
  }
}

}  // namespace
}  // namespace wkagent
