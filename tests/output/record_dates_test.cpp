#include "output/record_dates.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "output/zones.h"
#include "support/local_time.h"
#include "support/random_seed.h"

namespace wkagent::test {
namespace {

// A date by the civil calendar of <chrono>, which knows no time zones.
std::string Civil(std::time_t seconds) {
  const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  char text[64];
  std::snprintf(text, sizeof(text), "%d-%02u-%02uT%02d:%02d:%02d", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return text;
}

TEST(RecordDates, AreThoseOfTheCivilCalendar) {
  const TimeZone zone("UTC0");
  std::mt19937_64 random(RandomSeed());
  std::uniform_int_distribution<std::time_t> times(-9'000'000'000, 200'000'000'000);
  for (int i = 0; i < 20'000; ++i) {
    const std::time_t time = times(random);
    const RecordDates dates(time);
    ASSERT_EQ(Civil(time), dates.utc) << time;
    ASSERT_EQ(Civil(time), dates.local) << time;
  }
}

struct Zone {
  const char* rule;
  int minutes;
};
constexpr Zone kZones[] = {{"UTC0", 0},       {kKathmandu, 345},     {"<+14>-14", 840},
                           {"<-12>12", -720}, {"<-0330>3:30", -210}, {"<+24>-24:59", 1499}};

TEST(RecordDates, DifferByTheOffsetOfTheZone) {
  std::mt19937_64 random(RandomSeed());
  std::uniform_int_distribution<std::time_t> times(0, 5'000'000'000);
  for (const Zone& zone : kZones) {
    const TimeZone local(zone.rule);
    for (int i = 0; i < 500; ++i) {
      const std::time_t time = times(random);
      const RecordDates dates(time);
      ASSERT_EQ(Civil(time), dates.utc) << zone.rule << " " << time;
      ASSERT_EQ(Civil(time + zone.minutes * 60), dates.local) << zone.rule << " " << time;
    }
  }
}

struct LocalDate {
  const char* zone;
  std::time_t time;
  const char* local;
};
constexpr LocalDate kLocalDates[] = {{kNewYork, 1'772'953'199, "2026-03-08T01:59:59"},
                                     {kNewYork, 1'772'953'200, "2026-03-08T03:00:00"},
                                     {kNewYork, 1'793'509'200, "2026-11-01T01:00:00"},
                                     {kNewYork, 1'793'512'799, "2026-11-01T01:59:59"},
                                     {kNewYork, 1'793'512'800, "2026-11-01T01:00:00"},
                                     {kNewYork, 1'793'516'400, "2026-11-01T02:00:00"},
                                     {kLordHowe, 1'775'314'799, "2026-04-05T01:59:59"},
                                     {kLordHowe, 1'775'314'800, "2026-04-05T01:30:00"},
                                     {kLordHowe, 1'791'041'399, "2026-10-04T01:59:59"},
                                     {kLordHowe, 1'791'041'400, "2026-10-04T02:30:00"}};

TEST(RecordDates, FollowDaylightSaving) {
  for (const LocalDate& c : kLocalDates) {
    const TimeZone local(c.zone);
    EXPECT_STREQ(c.local, RecordDates(c.time).local) << c.zone << " " << c.time;
    EXPECT_EQ(Civil(c.time), RecordDates(c.time).utc);
  }
}

TEST(RecordDates, FollowAChangeOfTheZone) {
  const TimeZone first("UTC0");
  EXPECT_STREQ("1970-01-01T00:00:00", RecordDates(0).local);
  const TimeZone second(kNewYork);
  EXPECT_STREQ("1969-12-31T19:00:00", RecordDates(0).local);
  EXPECT_STREQ("1970-01-01T00:00:00", RecordDates(0).utc);
}

TEST(RecordDates, ReachAcrossAllTimes) {
  const TimeZone zone("UTC0");
  EXPECT_STREQ("1970-01-01T00:00:00", RecordDates(0).utc);
  EXPECT_STREQ("1969-12-31T23:59:59", RecordDates(-1).utc);
  EXPECT_STREQ("1901-12-13T20:45:51", RecordDates(-2'147'483'649).utc);
  EXPECT_STREQ("2038-01-19T03:14:08", RecordDates(2'147'483'648).utc);
  EXPECT_STREQ("2106-02-07T06:28:16", RecordDates(4'294'967'296).utc);
  EXPECT_STREQ("9999-12-31T23:59:59", RecordDates(253'402'300'799).utc);
  EXPECT_STREQ("10000-01-01T00:00:00", RecordDates(253'402'300'800).utc);
  EXPECT_STREQ("2000-02-29T12:00:00", RecordDates(951'825'600).utc);
}

constexpr std::time_t kLastSecond = 67'768'036'191'676'799;  // of the last year that a tm holds

TEST(RecordDates, EndWhereTheCalendarEnds) {
  const TimeZone zone("UTC0");
  EXPECT_STREQ("2147483647-12-31T23:59:59", RecordDates(67'767'976'233'532'799).utc);
  EXPECT_STREQ("2147483647-12-31T23:59:59", RecordDates(67'767'976'233'532'799).local);
  for (const std::time_t time : {kLastSecond + 1, std::numeric_limits<std::time_t>::max(),
                                 std::numeric_limits<std::time_t>::min()}) {
    EXPECT_STREQ("", RecordDates(time).utc);
    EXPECT_STREQ("", RecordDates(time).local);
  }
}

TEST(RecordDates, CanBeEmptyInOneOfTheirForms) {
  const TimeZone zone(kKathmandu);
  EXPECT_STRNE("", RecordDates(kLastSecond).utc);
  EXPECT_STREQ("", RecordDates(kLastSecond).local);
}

TEST(RecordDates, AreZeroBehindTheirText) {
  const RecordDates dates(0);
  EXPECT_EQ(127U, sizeof(dates.local));
  EXPECT_TRUE(std::all_of(dates.local + 19, std::end(dates.local), [](char c) { return c == 0; }));
  EXPECT_TRUE(std::all_of(dates.utc + 19, std::end(dates.utc), [](char c) { return c == 0; }));
}

}  // namespace
}  // namespace wkagent::test
