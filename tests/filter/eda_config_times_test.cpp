#include <ctime>
#include <string>

#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "eda_config_fixture.h"
#include "filter_support.h"

namespace wkagent::test {
namespace {

// Times of day, in a zone with daylight saving.
class EdaConfigTimes : public EdaConfigFixture {
 protected:
  // The start that a `StartTime` reads as, in seconds since local midnight of the day on which it
  // is read.
  time_t StartOf(const std::string& text) {
    return SinceMidnight([&](const WKEDAFilterStatement& read) { return read.startTime; },
                         "StartTime=\"" + text + "\" EndTime=\"23:59:59 PM\"");
  }
  time_t EndOf(const std::string& text) {
    return SinceMidnight([&](const WKEDAFilterStatement& read) { return read.endTime; },
                         "StartTime=\"00:00:01 AM\" EndTime=\"" + text + "\"");
  }

 private:
  static tm Today() {
    const time_t now = time(nullptr);
    tm today{};
    localtime_r(&now, &today);
    return today;
  }

  template <typename Bound>
  time_t SinceMidnight(Bound bound, const std::string& attributes) {
    for (;;) {
      tm today = Today();
      const time_t read = bound(ReadAttributes(attributes));
      if (Today().tm_mday != today.tm_mday) continue;  // midnight passed meanwhile
      tm local{};
      localtime_r(&read, &local);
      EXPECT_EQ(today.tm_year, local.tm_year);
      EXPECT_EQ(today.tm_yday, local.tm_yday);
      return local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec;
    }
  }

  TimeZone zone_{kBerlin};
};

TEST_F(EdaConfigTimes, TimesAreOnTheLocalDateOfToday) {
  EXPECT_EQ(8 * 3600, StartOf("08:00:00 AM"));
  EXPECT_EQ(17 * 3600 + 30 * 60 + 59, EndOf("17:30:59 PM"));
}

TEST_F(EdaConfigTimes, HoursCount24SoPmChangesNothing) {
  EXPECT_EQ(8 * 3600, StartOf("08:00:00 PM"));
  EXPECT_EQ(20 * 3600, StartOf("20:00:00 AM"));
  EXPECT_EQ(12 * 3600, StartOf("12:00:00 AM"));
  EXPECT_EQ(0, StartOf("00:00:00 PM"));
}

TEST_F(EdaConfigTimes, WhatIsNoTimeIsMidnight) {
  for (const char* text : {"", "garbage", "*", "AM", "25:00:00 AM", "-1:00:00 AM"}) {
    EXPECT_EQ(0, StartOf(text)) << text;
    EXPECT_EQ(0, EndOf(text)) << text;
  }
}

TEST_F(EdaConfigTimes, WhatPrecedesTheFirstFaultCounts) {
  EXPECT_EQ(8 * 3600, StartOf("08"));
  EXPECT_EQ(8 * 3600 + 30 * 60, StartOf("08:30"));
  EXPECT_EQ(8 * 3600 + 30 * 60 + 15, StartOf("08:30:15"));
  EXPECT_EQ(8 * 3600 + 30 * 60 + 15, StartOf("08:30:15 XX"));
}

TEST_F(EdaConfigTimes, StarsAtTheEndsAreDropped) { EXPECT_EQ(8 * 3600, StartOf("*08:00:00 AM*")); }

TEST_F(EdaConfigTimes, MissingTimesAreMidnight) {
  const WKEDAFilterStatement& statement = ReadAttributes("Title=\"T\"");
  tm local{};
  localtime_r(&statement.startTime, &local);
  EXPECT_EQ(0, local.tm_hour + local.tm_min + local.tm_sec);
  localtime_r(&statement.endTime, &local);
  EXPECT_EQ(0, local.tm_hour + local.tm_min + local.tm_sec);
}

TEST_F(EdaConfigTimes, WindowOfTheWholeDayStandsFromEndToStart) {
  for (;;) {
    const time_t before = time(nullptr);
    WKEDAFilterStatement& open =
        ReadAttributes("StartTime=\"23:59:59 PM\" EndTime=\"00:00:00 AM\"");
    const bool passes = open.PassTimeCheck();
    if (time(nullptr) / 60 != before / 60) continue;  // local midnight is the turn of a minute
    EXPECT_TRUE(passes);
    break;
  }
  EXPECT_FALSE(ReadAttributes("StartTime=\"00:00:00 AM\" EndTime=\"23:59:59 PM\"").PassTimeCheck());
}

}  // namespace
}  // namespace wkagent::test
