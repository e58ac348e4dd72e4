#include "agent/syslog_line.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace wkagent {
namespace {

// PRI is the facility, 13 for "log audit", times 8, and the severity.
constexpr char kInformational[] = "<110>1 ";
constexpr char kWarning[] = "<108>1 ";

constexpr char kData[] = " [wkaudit@32473";  // the number that RFC 5612 keeps for documentation
constexpr std::size_t kLongestHost = 255;

bool IsPrintable(std::string_view text) {
  for (const char c : text) {
    if (c < 33 || c > 126) return false;
  }
  return true;
}

std::string HostField(const std::string& host) {
  const bool usable = !host.empty() && host.size() <= kLongestHost && IsPrintable(host);
  return usable ? host : "-";
}

void AppendControl(unsigned code, std::string& text) {
  std::array<char, 8> escaped{};
  std::snprintf(escaped.data(), escaped.size(), "#%03o", code);
  text += escaped.data();
}

// The value of a parameter: the standard's three characters are escaped by a backslash, and control
// characters by "#" and their number in octal, as collectors do it.
void AppendEscaped(std::string_view value, std::string& text) {
  constexpr char kC1Lead = '\xC2';  // U+0080 to U+009F are this and one more byte up to 0x9F
  for (std::size_t i = 0; i < value.size(); ++i) {
    const auto byte = static_cast<unsigned char>(value[i]);
    if (byte < 0x20 || byte == 0x7F) {
      AppendControl(byte, text);
    } else if (value[i] == kC1Lead && i + 1 < value.size() &&
               static_cast<unsigned char>(value[i + 1]) < 0xA0) {
      AppendControl(static_cast<unsigned char>(value[++i]), text);
    } else {
      if (byte == '"' || byte == '\\' || byte == ']') text += '\\';
      text += value[i];
    }
  }
}

void AppendParameter(const char* name, std::string_view value, std::string& text) {
  if (value.empty()) return;
  text.append(1, ' ').append(name).append("=\"");
  AppendEscaped(value, text);
  text += '"';
}

// A field that is full has no terminator.
template <std::size_t kSize>
void AppendField(const char* name, const char (&field)[kSize], std::string& text) {
  AppendParameter(name, {field, strnlen(field, kSize)}, text);
}

}  // namespace

SyslogLine::SyslogLine(const std::string& host, int process)
    : origin_(std::string(1, ' ')
                  .append(HostField(host))
                  .append(" wkagentd ")
                  .append(std::to_string(process))
                  .append(1, ' ')) {}

// Events come many in a second.
const std::string& SyslogLine::TimeStamp(std::time_t time) {
  if (time == time_ && !timeText_.empty()) return timeText_;
  std::array<char, 32> buffer{};
  std::tm utc{};
  // The standard's year has four digits.
  const bool fits = gmtime_r(&time, &utc) != nullptr && utc.tm_year >= -1900 && utc.tm_year < 8100;
  const std::size_t length =
      fits ? std::strftime(buffer.data(), buffer.size(), "%Y-%m-%dT%H:%M:%SZ", &utc) : 0;
  timeText_.assign(length == 20 ? buffer.data() : "-");
  time_ = time;
  return timeText_;
}

const std::string& SyslogLine::Format(const tagWKEventData& event, const char* type) {
  text_.assign(event.Status == 0 ? kInformational : kWarning);
  text_.append(TimeStamp(event.EventTime)).append(origin_).append(type).append(kData);
  AppendParameter("EventID", std::to_string(event.EventID), text_);
  AppendParameter("Status", std::to_string(static_cast<int>(event.Status)), text_);
  AppendField("UserName", event.UserName, text_);
  AppendField("NodeAddress", event.NodeAddress, text_);
  AppendField("Class1", event.Class1, text_);
  AppendField("Object1", event.Object1, text_);
  AppendField("Attribute1", event.Attribute1, text_);
  AppendField("AttributeValue", event.AttributeValue, text_);
  AppendField("Class2", event.Class2, text_);
  AppendField("Object2", event.Object2, text_);
  AppendField("ServerName", event.ServerName, text_);
  AppendField("TreeName", event.TreeName, text_);
  text_ += ']';
  return text_;
}

}  // namespace wkagent
