#ifndef WKAGENT_TESTS_SUPPORT_LOCAL_TIME_H
#define WKAGENT_TESTS_SUPPORT_LOCAL_TIME_H

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace wkagent::test {

// Sets the process's time zone as a host does, by TZ alone, until the object ends.
class TimeZone {
 public:
  explicit TimeZone(const char* zone) {
    if (const char* before = std::getenv("TZ")) before_ = before;
    setenv("TZ", zone, 1);
  }
  ~TimeZone() {
    if (before_) {
      setenv("TZ", before_->c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;

 private:
  std::optional<std::string> before_;
};

// `seconds` in local time, as strftime(3) formats it.
inline std::string FormatLocal(std::time_t seconds, const char* format) {
  char text[128] = {};
  return {text, std::strftime(text, sizeof(text), format, std::localtime(&seconds))};
}

// True when `text` is `format` filled with the local time of some second from `begin` up to now.
inline bool IsStampSince(std::time_t begin, const std::string& text, const char* format) {
  for (std::time_t second = begin; second <= std::time(nullptr); ++second) {
    if (text == FormatLocal(second, format)) return true;
  }
  return false;
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_LOCAL_TIME_H
