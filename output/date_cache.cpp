#include "output/date_cache.h"

#include <cstdlib>

#include <langinfo.h>

namespace wkagent {
namespace {

std::time_t CoarseSecond() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return now.tv_sec;
}

}  // namespace

bool DateCache::Holds(std::time_t eventTime, std::time_t now) const {
  if (eventTime != eventTime_ || now != made_ || timeForm_ != nl_langinfo(T_FMT)) return false;
  const char* const zone = std::getenv("TZ");
  return zoneIsSet_ ? zone != nullptr && zone_ == zone : zone == nullptr;
}

const RecordDates& DateCache::Of(std::time_t eventTime) {
  const std::time_t now = CoarseSecond();
  if (Holds(eventTime, now)) return dates_;
  const char* const zone = std::getenv("TZ");
  zoneIsSet_ = zone != nullptr;
  zone_ = zoneIsSet_ ? zone : "";
  timeForm_ = nl_langinfo(T_FMT);
  dates_ = RecordDates(eventTime);
  eventTime_ = eventTime;
  made_ = now;
  return dates_;
}

}  // namespace wkagent
