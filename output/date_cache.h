#ifndef WKAGENT_OUTPUT_DATE_CACHE_H
#define WKAGENT_OUTPUT_DATE_CACHE_H

#include <ctime>
#include <string>

#include "output/record_dates.h"

namespace wkagent {

// The dates of the most recent event time, so that events of one second share them. A change of TZ
// or of the locale's time form is followed at once; one of the system's time zone file, which costs
// a system call to see, within a second.
class DateCache {
 public:
  // Valid until the next call.
  [[nodiscard]] const RecordDates& Of(std::time_t eventTime);

 private:
  [[nodiscard]] bool Holds(std::time_t eventTime, std::time_t now) const;

  RecordDates dates_{0};
  std::time_t eventTime_ = 0;
  std::time_t made_ = -1;           // when, by the coarse monotonic clock
  const char* timeForm_ = nullptr;  // of the locale
  bool zoneIsSet_ = false;
  std::string zone_;
};

}  // namespace wkagent

#endif  // WKAGENT_OUTPUT_DATE_CACHE_H
