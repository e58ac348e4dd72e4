#include "output/date_cache.h"

#include <string>

#include <gtest/gtest.h>

#include "output/zones.h"
#include "support/local_time.h"

namespace wkagent::test {
namespace {

constexpr std::time_t kSummer = 1'784'538'000;

TEST(DateCache, HasTheDatesOfEachTime) {
  const TimeZone zone("UTC0");
  DateCache cache;
  for (int i = 0; i < 3; ++i) {
    EXPECT_STREQ("1970-01-01T00:00:00", cache.Of(0).utc);
    EXPECT_STREQ("1970-01-01T00:00:01", cache.Of(1).utc);
    EXPECT_STREQ("1970-01-01T00:00:01", cache.Of(1).local);
    EXPECT_STREQ("1969-12-31T23:59:59", cache.Of(-1).utc);
  }
}

TEST(DateCache, HasTheDatesOfTheEpochFirst) {
  const TimeZone zone("UTC0");
  DateCache cache;
  EXPECT_STREQ("1970-01-01T00:00:00", cache.Of(0).utc);
}

TEST(DateCache, FollowsAChangeOfTheZoneAtTheSameTime) {
  DateCache cache;
  for (int i = 0; i < 3; ++i) {
    for (const char* zone : {"UTC0", kKathmandu, kNewYork}) {
      const TimeZone local(zone);
      EXPECT_STREQ(RecordDates(kSummer).local, cache.Of(kSummer).local);
    }
    EXPECT_STREQ(RecordDates(kSummer).local, cache.Of(kSummer).local);
  }
}

TEST(DateCache, TellsAnEmptyZoneFromNone) {
  const TimeZone local(kNewYork);
  DateCache cache;
  unsetenv("TZ");
  EXPECT_STREQ(RecordDates(kSummer).local, cache.Of(kSummer).local);
  setenv("TZ", "", 1);
  EXPECT_STREQ(RecordDates(kSummer).local, cache.Of(kSummer).local);
}

}  // namespace
}  // namespace wkagent::test
