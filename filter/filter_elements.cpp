#include "filter/filter_elements.h"

#include <ctime>

#include "config/xml_values.h"
#include "core/time_stamp.h"
#include "filter/pointer_list.h"

namespace wkagent {
namespace {

// The local date of today, without a time.
std::tm Today() {
  std::tm day = LocalTime(std::time(nullptr));
  day.tm_hour = 0;
  day.tm_min = 0;
  day.tm_sec = 0;
  day.tm_isdst = -1;
  return day;
}

// A time of day ("%H:%M:%S %p") on a date. Deliberate: the hour counts 24, so AM and PM change
// nothing. What cannot be read stays 0.
std::tm ReadTimeOfDay(WKConfigFile& file, _xmlNode* element, const char* attribute, std::tm time) {
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
  return ToInt(ReadText(file, element, attribute));
}

bool ReadFlag(WKConfigFile& file, _xmlNode* element, const char* attribute) {
  return ToFlag(ReadText(file, element, attribute));
}

void ReadFilterElement(WKConfigFile& file, _xmlNode* element, WKFilterStatement& statement) {
  statement.SetTitle(ReadText(file, element, "Title"));
  statement.SetIncExFlag(ReadFlag(file, element, "IncludeExclude"));
  statement.SetEnableFlag(ReadFlag(file, element, "Enabled"));
  statement.SetAllDayFlag(ReadFlag(file, element, "AllDay"));
  const std::tm today = Today();  // one date for both, also at midnight
  std::tm start = ReadTimeOfDay(file, element, "StartTime", today);
  std::tm end = ReadTimeOfDay(file, element, "EndTime", today);
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

void HandOverStatements(CLinkList& list, int& handedOver, CLinkList& out) {
  ForEachObject<WKFilterStatement>(
      list, [&](WKFilterStatement* statement) { out.AddNode(&statement, sizeof(statement)); });
  handedOver = list.GetCount();
}

void ReleaseOwnStatements(CLinkList& list, int& handedOver) {
  for (; handedOver > 0; --handedOver) list.FreeNode(list.GetHeadListNode());
  ReleaseStatements(list);
}

}  // namespace wkagent
