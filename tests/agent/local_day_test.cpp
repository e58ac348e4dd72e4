#include "agent/local_day.h"

#include <gtest/gtest.h>

#include "support/local_time.h"

namespace wkagent::test {
namespace {

constexpr std::time_t kMidnightUtc = 1795219200;  // 2026-11-21T00:00:00Z
constexpr std::time_t kHour = 3600;

TEST(LocalDay, ChangesAtMidnightOnce) {
  const TimeZone zone("UTC");
  LocalDay day(kMidnightUtc - 1);
  EXPECT_FALSE(day.HasChanged(kMidnightUtc - 1));
  EXPECT_TRUE(day.HasChanged(kMidnightUtc));
  EXPECT_FALSE(day.HasChanged(kMidnightUtc));
  EXPECT_FALSE(day.HasChanged(kMidnightUtc + 23 * kHour));
  EXPECT_TRUE(day.HasChanged(kMidnightUtc + 24 * kHour));
}

TEST(LocalDay, IsTheTimeZonesDay) {
  const TimeZone zone("EST5");
  LocalDay day(kMidnightUtc - 1);
  EXPECT_FALSE(day.HasChanged(kMidnightUtc));
  EXPECT_FALSE(day.HasChanged(kMidnightUtc + 5 * kHour - 1));
  EXPECT_TRUE(day.HasChanged(kMidnightUtc + 5 * kHour));
}

TEST(LocalDay, AYearLaterIsAnotherDay) {
  const TimeZone zone("UTC");
  LocalDay day(kMidnightUtc);
  EXPECT_TRUE(day.HasChanged(kMidnightUtc + 365 * 24 * kHour));
}

TEST(LocalDay, AClockThatIsSetBackAlsoChangesTheDay) {
  const TimeZone zone("UTC");
  LocalDay day(kMidnightUtc);
  EXPECT_TRUE(day.HasChanged(kMidnightUtc - 1));
}

}  // namespace
}  // namespace wkagent::test
