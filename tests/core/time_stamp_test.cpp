#include "core/time_stamp.h"

#include <ctime>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/local_time.h"
#include "support/random_seed.h"

namespace wkagent {
namespace {

using test::TimeZone;

constexpr const char* kNewYork = "EST5EDT,M3.2.0,M11.1.0";

std::string Stamp(std::time_t seconds) { return FormatTimeStamp(seconds).data(); }

// The number of a moment that this machine's calendar calls by these numbers in UTC.
std::time_t Utc(int year, int month, int day, int hour, int minute, int second) {
  std::tm calendar{};
  calendar.tm_year = year - 1900;
  calendar.tm_mon = month - 1;
  calendar.tm_mday = day;
  calendar.tm_hour = hour;
  calendar.tm_min = minute;
  calendar.tm_sec = second;
  return timegm(&calendar);
}

TEST(TimeStamp, IsFourteenDigitsYearFirst) {
  const TimeZone utc("UTC0");
  EXPECT_EQ(Stamp(Utc(2026, 11, 15, 8, 22, 5)), "20261115082205");
  EXPECT_EQ(Stamp(Utc(1999, 12, 31, 23, 59, 59)), "19991231235959");
}

TEST(TimeStamp, EveryPartHasItsLeadingZero) {
  const TimeZone utc("UTC0");
  EXPECT_EQ(Stamp(Utc(2001, 2, 3, 4, 5, 6)), "20010203040506");
  EXPECT_EQ(Stamp(0), "19700101000000");
  EXPECT_EQ(Stamp(-1), "19691231235959");
}

TEST(TimeStamp, IsLocalTime) {
  const TimeZone east("XXX-14");
  EXPECT_EQ(Stamp(Utc(2026, 11, 15, 8, 22, 5)), "20261115222205");
}

TEST(TimeStamp, FollowsAChangeOfTheZone) {
  const std::time_t moment = Utc(2026, 1, 31, 20, 0, 0);
  const TimeZone utc("UTC0");
  EXPECT_EQ(Stamp(moment), "20260131200000");
  {
    const TimeZone east("XXX-5");
    EXPECT_EQ(Stamp(moment), "20260201010000");
  }
  EXPECT_EQ(Stamp(moment), "20260131200000");
}

TEST(TimeStamp, KnowsDaylightSaving) {
  const TimeZone zone(kNewYork);
  EXPECT_EQ(Stamp(Utc(2026, 3, 8, 6, 59, 59)), "20260308015959");
  EXPECT_EQ(Stamp(Utc(2026, 3, 8, 7, 0, 0)), "20260308030000");
  EXPECT_EQ(Stamp(Utc(2026, 11, 1, 5, 30, 0)), Stamp(Utc(2026, 11, 1, 6, 30, 0)));
}

TEST(TimeStamp, AYearOfFiveDigitsIsNotCut) {
  const TimeZone utc("UTC0");
  EXPECT_EQ(Stamp(Utc(12026, 11, 15, 8, 22, 5)), "120261115082205");
}

TEST(TimeStamp, ATimeBeyondTheCalendarIsAllZero) {
  const std::tm time = LocalTime(std::numeric_limits<std::time_t>::max());
  EXPECT_EQ(time.tm_year, 0);
  EXPECT_EQ(time.tm_mon, 0);
  EXPECT_EQ(time.tm_mday, 0);
  EXPECT_EQ(time.tm_sec, 0);
  EXPECT_EQ(Stamp(std::numeric_limits<std::time_t>::max()), "19000100000000");
}

TEST(LocalTime, IsWhatTheSystemsOwnConversionGives) {
  std::mt19937_64 random(test::RandomSeed());
  std::uniform_int_distribution<std::time_t> moments(-5'000'000'000, 50'000'000'000);
  for (const char* zone : {"UTC0", kNewYork, "XXX-12:45"}) {
    const TimeZone local(zone);
    for (int round = 0; round < 1000; ++round) {
      const std::time_t moment = moments(random);
      std::tm time = LocalTime(moment);
      ASSERT_EQ(std::mktime(&time), moment) << zone;
      ASSERT_EQ(Stamp(moment), test::FormatLocal(moment, "%Y%m%d%H%M%S")) << zone;
    }
  }
}

}  // namespace
}  // namespace wkagent
