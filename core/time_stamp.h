#ifndef WKAGENT_CORE_TIME_STAMP_H
#define WKAGENT_CORE_TIME_STAMP_H

#include <array>
#include <ctime>

namespace wkagent {

// The local time of `seconds`, all zero where the calendar cannot hold it. As localtime(3) does,
// and localtime_r(3) need not, it follows a change of the time zone.
[[nodiscard]] std::tm LocalTime(std::time_t seconds);

// `seconds` in local time as 14 digits, year first (20261115082205), the stamp of archives, spool
// files and markers.
using TimeStamp = std::array<char, 40>;
[[nodiscard]] TimeStamp FormatTimeStamp(std::time_t seconds);

}  // namespace wkagent

#endif  // WKAGENT_CORE_TIME_STAMP_H
