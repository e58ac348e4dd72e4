#ifndef WKAGENT_OUTPUT_RECORD_DATES_H
#define WKAGENT_OUTPUT_RECORD_DATES_H

#include <ctime>

namespace wkagent {

// The two dates of a record, "%Y-%m-%dT%X"; empty where the calendar cannot hold the time.
struct RecordDates {
  explicit RecordDates(std::time_t eventTime);

  char local[127] = {};
  char utc[127] = {};
};

}  // namespace wkagent

#endif  // WKAGENT_OUTPUT_RECORD_DATES_H
