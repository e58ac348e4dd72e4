#include "core/time_stamp.h"

namespace wkagent {

std::tm LocalTime(std::time_t seconds) {
  std::tm result{};
  tzset();
  if (localtime_r(&seconds, &result) == nullptr) return {};
  return result;
}

TimeStamp FormatTimeStamp(std::time_t seconds) {
  TimeStamp stamp{};
  const std::tm local = LocalTime(seconds);
  std::strftime(stamp.data(), stamp.size(), "%Y%m%d%H%M%S", &local);
  return stamp;
}

}  // namespace wkagent
