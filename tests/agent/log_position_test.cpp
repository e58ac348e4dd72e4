#include "agent/log_position.h"

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

namespace wkagent::test {
namespace {

constexpr char kLog[] = "cn=accesslog on dir1:389";

// The CSN of a moment: seconds after 12:00:00, up to an hour.
std::string Csn(int second, int micro = 0) {
  char text[64];
  std::snprintf(text, sizeof(text), "202611211%d%02d%02d.%06dZ#000000#000#000000",
                2 + second / 3600, second / 60 % 60, second % 60, micro);
  return text;
}

TEST(LogPosition, NothingIsKnownAtFirst) {
  const LogPosition position;
  EXPECT_EQ("", position.Base());
  EXPECT_FALSE(position.Contains("a"));
}

TEST(LogPosition, RecentEntriesAreKnownByTheirIdentity) {
  LogPosition position;
  position.Add(Csn(1), "a");
  position.Add(Csn(30), "b");
  EXPECT_TRUE(position.Contains("a"));
  EXPECT_TRUE(position.Contains("b"));
  EXPECT_FALSE(position.Contains("c"));
  EXPECT_EQ("", position.Base());
}

TEST(LogPosition, TheBaseFollowsThirtySecondsBehind) {
  LogPosition position;
  position.Add(Csn(0), "a");
  position.Add(Csn(30), "b");
  EXPECT_EQ("", position.Base());
  position.Add(Csn(31), "c");
  EXPECT_EQ(Csn(0), position.Base());
  EXPECT_FALSE(position.Contains("a"));
  EXPECT_TRUE(position.Contains("b"));
}

TEST(LogPosition, AnEntryThatWasLoggedLateMovesNothingBack) {
  LogPosition position;
  position.Add(Csn(0), "a");
  position.Add(Csn(100), "b");
  EXPECT_EQ(Csn(0), position.Base());
  position.Add(Csn(99), "late");
  EXPECT_TRUE(position.Contains("late"));
  position.Add(Csn(200), "c");
  EXPECT_EQ(Csn(100), position.Base());
}

TEST(LogPosition, AnEntryAddedTwiceCountsOnce) {
  LogPosition position;
  position.Add(Csn(1), "a");
  position.Add(Csn(1), "a");
  LogPosition once;
  once.Add(Csn(1), "a");
  EXPECT_EQ(once.ToText(kLog), position.ToText(kLog));
}

TEST(LogPosition, ItsTextGivesItBack) {
  LogPosition position;
  for (int i = 0; i < 100; ++i) position.Add(Csn(i), "id" + std::to_string(i));
  LogPosition read;
  ASSERT_TRUE(read.FromText(position.ToText(kLog), kLog));
  EXPECT_EQ(position.Base(), read.Base());
  EXPECT_EQ(position.ToText(kLog), read.ToText(kLog));
  EXPECT_TRUE(read.Contains("id99"));
}

TEST(LogPosition, ThePositionOfAnotherLogIsRefused) {
  LogPosition position;
  position.Add(Csn(1), "a");
  LogPosition read;
  EXPECT_FALSE(read.FromText(position.ToText("another"), kLog));
  EXPECT_FALSE(read.Contains("a"));
}

TEST(LogPosition, ATextCutOffAnywhereIsRefusedOrAnEarlierPosition) {
  LogPosition position;
  for (int i = 0; i < 3; ++i) position.Add(Csn(i), "id" + std::to_string(i));
  const std::string text = position.ToText(kLog);
  for (std::size_t size = 0; size < text.size(); ++size) {
    const std::string part = text.substr(0, size);
    // Whole lines, with the base at least, are an earlier position.
    const bool whole = part.ends_with('\n') && part.find("\n\n") != std::string::npos;
    LogPosition read;
    EXPECT_EQ(whole, read.FromText(part, kLog)) << size;
    EXPECT_EQ(whole && part.find("id0\n") != std::string::npos, read.Contains("id0")) << size;
  }
}

TEST(LogPosition, GarbageIsRefused) {
  LogPosition read;
  for (const char* text : {"", "\n", "x\n\n\n", "wkagent log position 2\nl\n\n",
                           "wkagent log position 1\nl\n\nnoblank\n"}) {
    EXPECT_FALSE(read.FromText(text, "l")) << text;
  }
  EXPECT_TRUE(read.FromText("wkagent log position 1\nl\n\n", "l"));
}

}  // namespace
}  // namespace wkagent::test
