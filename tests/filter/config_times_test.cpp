#include <ctime>
#include <string>

#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_kinds.h"
#include "filter_support.h"
#include "reader_fixture.h"

namespace wkagent::test {
namespace {

// Times of day, in a zone with daylight saving.
template <typename Kind>
class ConfigTimes : public ReaderFixture<Kind> {
 protected:
  using Statement = typename Kind::Statement;

  // The start that a `StartTime` reads as, in seconds since local midnight of the day on which it
  // is read.
  time_t StartOf(const std::string& text) {
    return SinceMidnight([&](const Statement& read) { return read.startTime; },
                         "StartTime=\"" + text + "\" EndTime=\"23:59:59 PM\"");
  }
  time_t EndOf(const std::string& text) {
    return SinceMidnight([&](const Statement& read) { return read.endTime; },
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
      const time_t read = bound(this->ReadAttributes(attributes));
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
TYPED_TEST_SUITE(ConfigTimes, FilterKinds, KindName);

TYPED_TEST(ConfigTimes, TimesAreOnTheLocalDateOfToday) {
  EXPECT_EQ(8 * 3600, this->StartOf("08:00:00 AM"));
  EXPECT_EQ(17 * 3600 + 30 * 60 + 59, this->EndOf("17:30:59 PM"));
}

TYPED_TEST(ConfigTimes, HoursCount24SoPmChangesNothing) {
  EXPECT_EQ(8 * 3600, this->StartOf("08:00:00 PM"));
  EXPECT_EQ(20 * 3600, this->StartOf("20:00:00 AM"));
  EXPECT_EQ(12 * 3600, this->StartOf("12:00:00 AM"));
  EXPECT_EQ(0, this->StartOf("00:00:00 PM"));
}

TYPED_TEST(ConfigTimes, WhatIsNoTimeIsMidnight) {
  for (const char* text : {"", "garbage", "*", "AM", "25:00:00 AM", "-1:00:00 AM"}) {
    EXPECT_EQ(0, this->StartOf(text)) << text;
    EXPECT_EQ(0, this->EndOf(text)) << text;
  }
}

TYPED_TEST(ConfigTimes, WhatPrecedesTheFirstFaultCounts) {
  EXPECT_EQ(8 * 3600, this->StartOf("08"));
  EXPECT_EQ(8 * 3600 + 30 * 60, this->StartOf("08:30"));
  EXPECT_EQ(8 * 3600 + 30 * 60 + 15, this->StartOf("08:30:15"));
  EXPECT_EQ(8 * 3600 + 30 * 60 + 15, this->StartOf("08:30:15 XX"));
}

TYPED_TEST(ConfigTimes, StarsAtTheEndsAreDropped) {
  EXPECT_EQ(8 * 3600, this->StartOf("*08:00:00 AM*"));
}

TYPED_TEST(ConfigTimes, MissingTimesAreMidnight) {
  const typename TypeParam::Statement& statement = this->ReadAttributes("Title=\"T\"");
  tm local{};
  localtime_r(&statement.startTime, &local);
  EXPECT_EQ(0, local.tm_hour + local.tm_min + local.tm_sec);
  localtime_r(&statement.endTime, &local);
  EXPECT_EQ(0, local.tm_hour + local.tm_min + local.tm_sec);
}

TYPED_TEST(ConfigTimes, WindowOfTheWholeDayStandsFromEndToStart) {
  for (;;) {
    const time_t before = time(nullptr);
    typename TypeParam::Statement& open =
        this->ReadAttributes("StartTime=\"23:59:59 PM\" EndTime=\"00:00:00 AM\"");
    const bool passes = open.PassTimeCheck();
    if (time(nullptr) / 60 != before / 60) continue;  // local midnight is the turn of a minute
    EXPECT_TRUE(passes);
    break;
  }
  EXPECT_FALSE(
      this->ReadAttributes("StartTime=\"00:00:00 AM\" EndTime=\"23:59:59 PM\"").PassTimeCheck());
}

}  // namespace
}  // namespace wkagent::test
