#include <climits>
#include <ctime>
#include <utility>

#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_support.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

class FilterStatementTime : public ::testing::Test {
 protected:
  // What the time check says with bounds at so many seconds from now. Set and asked within one
  // second of the clock, so that a bound of 0 is the current second.
  bool WindowIsOpen(int start, int end) {
    for (;;) {
      const time_t now = time(nullptr);
      SetWindow(statement_, now, start, end);
      const bool open = statement_.PassTimeCheck();
      if (time(nullptr) == now) return open;
    }
  }

  WKFilterStatement statement_;
};

TEST_F(FilterStatementTime, TimesAreConvertedFromLocalTime) {
  const TimeZone zone(kBerlin);
  tm start{0, 30, 8, 15, 6, 126, 0, 0, -1, 0, nullptr};  // 15 July 2026 08:30:00, summer time
  tm end{59, 59, 23, 15, 0, 126, 0, 0, -1, 0, nullptr};  // 15 January 2026 23:59:59
  statement_.SetTime(&start, &end);
  EXPECT_EQ(1784097000, statement_.startTime);
  EXPECT_EQ(1768517999, statement_.endTime);
}

TEST_F(FilterStatementTime, SecondSetTimeReplacesBothTimes) {
  SetWindow(statement_, 1000000, 10, 20);
  SetWindow(statement_, 2000000, 30, 40);
  EXPECT_EQ(2000030, statement_.startTime);
  EXPECT_EQ(2000040, statement_.endTime);
}

TEST_F(FilterStatementTime, MissingTimeChangesNothing) {
  SetWindow(statement_, 1000000, 10, 20);
  tm other{};
  statement_.SetTime(nullptr, &other);
  statement_.SetTime(&other, nullptr);
  statement_.SetTime(nullptr, nullptr);
  EXPECT_EQ(1000010, statement_.startTime);
  EXPECT_EQ(1000020, statement_.endTime);
}

TEST_F(FilterStatementTime, WindowIsOpenBetweenTheEndAndTheStart) {
  EXPECT_TRUE(WindowIsOpen(3600, -3600));
  EXPECT_TRUE(WindowIsOpen(1000000, -1000000));
}

TEST_F(FilterStatementTime, WindowIsClosedBetweenTheStartAndTheEnd) {
  EXPECT_FALSE(WindowIsOpen(-3600, 3600));
  EXPECT_FALSE(WindowIsOpen(-1, 1));
}

TEST_F(FilterStatementTime, StartBeforeNowOrEndAfterNowClosesTheWindow) {
  EXPECT_FALSE(WindowIsOpen(-3600, -7200));
  EXPECT_FALSE(WindowIsOpen(7200, 3600));
}

TEST_F(FilterStatementTime, BothBoundsBelongToTheWindow) {
  EXPECT_TRUE(WindowIsOpen(0, 0));
  EXPECT_TRUE(WindowIsOpen(0, -3600));
  EXPECT_TRUE(WindowIsOpen(3600, 0));
  EXPECT_FALSE(WindowIsOpen(-1, -3600));
  EXPECT_FALSE(WindowIsOpen(3600, 1));
}

TEST_F(FilterStatementTime, UnsetTimesCloseTheWindow) { EXPECT_FALSE(statement_.PassTimeCheck()); }

TEST_F(FilterStatementTime, ParseTimeIsNoonOfAFixedDayInDaylightTime) {
  const TimeZone zone(kBerlin);
  EXPECT_EQ(631188000, statement_.ParseTime(Text("08:00:00 AM")));  // 10:00 UTC
}

TEST_F(FilterStatementTime, ParseTimeIgnoresItsArgument) {
  const time_t fixed = statement_.ParseTime(nullptr);
  EXPECT_EQ(fixed, statement_.ParseTime(Text("")));
  EXPECT_EQ(fixed, statement_.ParseTime(Text("11:11:11 PM")));
}

TEST_F(FilterStatementTime, ConvertTimeWritesDayHourAndMinuteInNineBytes) {
  const TimeZone zone(kBerlin);
  char out[12] = "###########";
  statement_.ConvertTime(1784097059, out);  // 15 July 2026 08:30:59
  EXPECT_STREQ("15 08 30", out);
  EXPECT_EQ('#', out[9]);
}

TEST_F(FilterStatementTime, ConvertTimeFollowsTheTimeZone) {
  char out[9] = "";
  for (const auto& [zone, text] : {std::pair("UTC0", "01 00 00"), std::pair(kBerlin, "01 01 00"),
                                   std::pair("EST5", "31 19 00")}) {
    const TimeZone local(zone);
    statement_.ConvertTime(0, out);
    EXPECT_STREQ(text, out) << zone;
  }
}

TEST_F(FilterStatementTime, ConvertTimeBeyondTheCalendarWritesZeros) {
  char out[9] = "########";
  statement_.ConvertTime(LONG_MAX, out);
  EXPECT_STREQ("00 00 00", out);
  statement_.ConvertTime(0, nullptr);
}

}  // namespace
}  // namespace wkagent::test
