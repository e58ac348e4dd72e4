#include "output/record_dates.h"

#include "core/time_stamp.h"

namespace wkagent {
namespace {

constexpr char kDateFormat[] = "%Y-%m-%dT%X";

}  // namespace

RecordDates::RecordDates(std::time_t eventTime) {
  const std::tm localTime = LocalTime(eventTime);
  if (localTime.tm_mday != 0) std::strftime(local, sizeof(local), kDateFormat, &localTime);
  std::tm utcTime{};
  if (gmtime_r(&eventTime, &utcTime) != nullptr) {
    std::strftime(utc, sizeof(utc), kDateFormat, &utcTime);
  }
}

}  // namespace wkagent
