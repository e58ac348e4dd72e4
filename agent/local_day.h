#ifndef WKAGENT_AGENT_LOCAL_DAY_H
#define WKAGENT_AGENT_LOCAL_DAY_H

#include <ctime>

namespace wkagent {

// Tells when a new local day has begun.
class LocalDay {
 public:
  explicit LocalDay(std::time_t now) : second_(now), day_(DayOf(now)) {}

  // True once for each change of the date between two calls.
  [[nodiscard]] bool HasChanged(std::time_t now) {
    if (now == second_) return false;
    second_ = now;
    const int day = DayOf(now);
    if (day == day_) return false;
    day_ = day;
    return true;
  }

 private:
  [[nodiscard]] static int DayOf(std::time_t now) {
    constexpr int kMostDays = 366;
    std::tm local{};
    tzset();  // the system's time zone may have changed, which localtime_r(3) need not see
    localtime_r(&now, &local);
    return local.tm_year * kMostDays + local.tm_yday;
  }

  std::time_t second_;
  int day_;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_LOCAL_DAY_H
