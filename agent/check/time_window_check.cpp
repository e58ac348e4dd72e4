#include "agent/check/time_window_check.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string>

#include "agent/check/value_place.h"
#include "agent/check/xml_element.h"

namespace wkagent {
namespace {

// A time of day as it is read.
struct TimeOfDay {
  int hour;
  int minute;
  int second;
  bool afternoon;  // "PM", which changes nothing
};

// The time as a file has it: the word agrees with the hour, which counts 24.
std::string Written(const TimeOfDay& time, int hour) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%02d:%02d:%02d %s", hour, time.minute, time.second,
                hour < 12 ? "AM" : "PM");
  return text.data();
}
std::string Written(const TimeOfDay& time) { return Written(time, time.hour); }

// Nothing where the text is no time.
std::optional<TimeOfDay> ReadTime(const std::string& text) {
  std::tm time{};
  const char* const rest = strptime(text.c_str(), "%H:%M:%S %p", &time);
  if (rest == nullptr || !WithoutBlanks(rest).empty()) return {};
  const bool afternoon = text.find_last_of("Pp") != std::string::npos;
  return TimeOfDay{time.tm_hour, time.tm_min, time.tm_sec, afternoon};
}

// Checks the two times of one Filter element.
class WindowCheck {
 public:
  WindowCheck(WKConfigFile& file, xmlNode* filter, const WKFilterStatement& statement,
              CheckReport& report)
      : file_(file), filter_(filter), statement_(statement), report_(report) {}

  void Run() {
    const auto start = Check("StartTime");
    const auto end = Check("EndTime");
    if (!statement_.allDay && start && end) CheckWindow(*start, *end);
  }

 private:
  // Where the statement is for all day, its times change nothing.
  void Report(std::string text) {
    const Severity severity = statement_.allDay ? Severity::kWarning : Severity::kError;
    report_.Add(LineOf(filter_), Finding{severity, std::move(text)});
  }

  std::optional<TimeOfDay> Check(const char* attribute) {
    const ValuePlace place{"Filter", attribute};
    const auto text = AttributeText(file_, filter_, attribute);
    if (!text) {
      Report(std::string("Filter has no attribute ") + attribute + ", which counts as 00:00:00; " +
             "write " + Write(place, "00:00:00 AM"));
      return {};
    }
    const auto time = ReadTime(*text);
    if (!time) {
      Report(Quote(place, *text) + " is no time of the form HH:MM:SS AM or HH:MM:SS PM; write " +
             Write(place, "08:00:00 AM") + " or " + Write(place, "20:00:00 PM"));
      return {};
    }
    if (time->afternoon != (time->hour >= 12)) ReportWord(place, *text, *time);
    return time;
  }

  // AM and PM change nothing, so with a clock of 12 hours it is another time that is meant.
  void ReportWord(const ValuePlace& place, const std::string& text, const TimeOfDay& time) {
    const int other = (time.hour + 12) % 24;
    Report(Quote(place, text) + " is read as " + Written(time).substr(0, 8) +
           ", since the hour counts 24 and AM and PM change nothing; write " +
           Write(place, Written(time, other)) + " or " + Write(place, Written(time)));
  }

  void CheckWindow(const TimeOfDay& start, const TimeOfDay& end) {
    const std::string opens = Written(end);
    const std::string closes = Written(start);
    if (statement_.endTime > statement_.startTime) {
      return report_.Error(LineOf(filter_),
                           "the window from EndTime=\"" + opens + "\" to StartTime=\"" + closes +
                               "\" is never open, since it begins at EndTime and ends at StartTime "
                               "of one day; write StartTime=\"" +
                               opens + "\" EndTime=\"" + closes + "\"");
    }
    if (statement_.endTime == statement_.startTime) {
      return report_.Warning(LineOf(filter_),
                             "the window is open for one second, since EndTime and StartTime are "
                             "both \"" +
                                 opens + "\"; write AllDay=\"1\", or two times");
    }
    report_.Note(LineOf(filter_), "the window is open from " + opens.substr(0, 8) + " to " +
                                      closes.substr(0, 8) + " of each day");
  }

  WKConfigFile& file_;
  xmlNode* filter_;
  const WKFilterStatement& statement_;
  CheckReport& report_;
};

}  // namespace

void CheckTimeWindow(WKConfigFile& file, _xmlNode* filter, const WKFilterStatement& statement,
                     CheckReport& report) {
  WindowCheck(file, filter, statement, report).Run();
}

}  // namespace wkagent
