#include "agent/access_log_entry.h"

#include "agent/ascii_case.h"

namespace wkagent {

void AccessLogEntry::Add(std::string_view attribute, std::string_view value) {
  values_.push_back({std::string(attribute), std::string(value)});
}

std::string_view AccessLogEntry::First(std::string_view attribute) const {
  for (const Value& value : values_) {
    if (SameIgnoringCase(value.attribute, attribute)) return value.text;
  }
  return {};
}

std::vector<std::string_view> AccessLogEntry::All(std::string_view attribute) const {
  std::vector<std::string_view> found;
  for (const Value& value : values_) {
    if (SameIgnoringCase(value.attribute, attribute)) found.emplace_back(value.text);
  }
  return found;
}

}  // namespace wkagent
