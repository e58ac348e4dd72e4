#include "filter/filter_elements.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <ctime>

#include "config/xml_walk.h"
#include "core/time_stamp.h"

namespace wkagent {
namespace {

struct CommonElement {
  const char* name;
  void (*read)(WKConfigFile&, _xmlNode*, WKFilterStatement&);
};

constexpr CommonElement kCommonElements[] = {
    {"Users",
     [](WKConfigFile& file, _xmlNode* element, WKFilterStatement& statement) {
       statement.SetAllUserFlag(ReadFlag(file, element, "AllUsers"));
     }},
    {"User",
     [](WKConfigFile& file, _xmlNode* element, WKFilterStatement& statement) {
       statement.AddUser(ReadText(file, element, "Name"));
     }},
    {"Action",
     [](WKConfigFile& file, _xmlNode* element, WKFilterStatement& statement) {
       statement.SetExcludeAlert(ReadFlag(file, element, "ExcludeAlert"));
     }},
    {"SNMP",
     [](WKConfigFile& file, _xmlNode* element, WKFilterStatement& statement) {
       statement.SetSNMPAlert(ReadFlag(file, element, "Alert"));
     }},
    {"SysLog",
     [](WKConfigFile& file, _xmlNode* element, WKFilterStatement& statement) {
       statement.SetSyslogAlert(ReadFlag(file, element, "Alert"));
     }},
};

// A time of day ("%H:%M:%S %p") on today's local date. Deliberate: the hour counts 24, so AM and PM
// change nothing. What cannot be read stays 0.
std::tm ReadTimeOfDay(WKConfigFile& file, _xmlNode* element, const char* attribute) {
  std::tm time = LocalTime(std::time(nullptr));
  time.tm_hour = 0;
  time.tm_min = 0;
  time.tm_sec = 0;
  time.tm_isdst = -1;
  strptime(ReadText(file, element, attribute), "%H:%M:%S %p", &time);
  return time;
}

}  // namespace

char* ReadText(WKConfigFile& file, _xmlNode* element, const char* attribute) {
  static char empty[1] = "";
  char* const value = file.GetTagValue(element, const_cast<char*>(attribute));
  return value == nullptr ? empty : value;
}

int ReadNumber(WKConfigFile& file, _xmlNode* element, const char* attribute) {
  const long value = std::strtol(ReadText(file, element, attribute), nullptr, 10);
  return static_cast<int>(std::clamp<long>(value, INT_MIN, INT_MAX));
}

bool ReadFlag(WKConfigFile& file, _xmlNode* element, const char* attribute) {
  return ReadNumber(file, element, attribute) != 0;
}

void ReadFilterElement(WKConfigFile& file, _xmlNode* element, WKFilterStatement& statement) {
  statement.SetTitle(ReadText(file, element, "Title"));
  statement.SetIncExFlag(ReadFlag(file, element, "IncludeExclude"));
  statement.SetEnableFlag(ReadFlag(file, element, "Enabled"));
  statement.SetAllDayFlag(ReadFlag(file, element, "AllDay"));
  std::tm start = ReadTimeOfDay(file, element, "StartTime");
  std::tm end = ReadTimeOfDay(file, element, "EndTime");
  statement.SetTime(&start, &end);
}

void ReadSmtpElement(WKConfigFile& file, _xmlNode* element, WKFilterStatement& statement) {
  const bool alert = ReadFlag(file, element, "Alert");
  statement.SetSMTPAlert(alert);
  if (!alert) return;
  statement.SetFrom(ReadText(file, element, "From"));
  statement.SetSubject(ReadText(file, element, "Subject"));
  statement.SetTo(ReadText(file, element, "To"));
  statement.SetCC(ReadText(file, element, "Cc"));
}

bool ReadCommonElement(WKConfigFile& file, _xmlNode* element, WKFilterStatement& statement) {
  for (const CommonElement& entry : kCommonElements) {
    if (!HasName(element, entry.name)) continue;
    entry.read(file, element, statement);
    return true;
  }
  return false;
}

}  // namespace wkagent
