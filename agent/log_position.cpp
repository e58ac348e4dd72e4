#include "agent/log_position.h"

#include <algorithm>

#include "agent/change_header.h"
#include "agent/text_lines.h"

namespace wkagent {
namespace {

constexpr std::string_view kTitle = "wkagent log position 1";
constexpr std::time_t kReach = 30;  // seconds: longer than a server works on one operation

// The time of a CSN, "20261121140000.123456Z#000000#000#000000".
std::time_t TimeOf(std::string_view csn) {
  return ReadGeneralizedTime(csn.substr(0, csn.find('#')));
}

}  // namespace

void LogPosition::Add(std::string_view csn, std::string_view id) {
  if (csn > newest_) newest_ = csn;
  if (ids_.emplace(id).second) recent_.push_back({std::string(csn), std::string(id)});
  DropOld();
}

// The base advances only over what lies far enough back, whatever the order of reading.
void LogPosition::DropOld() {
  const std::time_t horizon = TimeOf(newest_) - kReach;
  while (!recent_.empty() && TimeOf(recent_.front().csn) < horizon) {
    base_ = std::max(base_, recent_.front().csn);
    ids_.erase(recent_.front().id);
    recent_.pop_front();
  }
}

bool LogPosition::Contains(std::string_view id) const { return ids_.contains(std::string(id)); }

std::string LogPosition::ToText(std::string_view log) const {
  std::string text;
  text.append(kTitle).append(1, '\n').append(log).append(1, '\n').append(base_).append(1, '\n');
  for (const Entry& entry : recent_) {
    text.append(entry.csn).append(1, ' ').append(entry.id).append(1, '\n');
  }
  return text;
}

bool LogPosition::FromText(std::string_view text, std::string_view log) {
  *this = LogPosition();
  if (ReadText(text, log)) return true;
  *this = LogPosition();
  return false;
}

bool LogPosition::ReadText(std::string_view text, std::string_view log) {
  std::string_view title;
  std::string_view name;
  std::string_view base;
  if (!TakePart(text, '\n', title) || title != kTitle || !TakePart(text, '\n', name) ||
      name != log || !TakePart(text, '\n', base)) {
    return false;
  }
  for (std::string_view line; TakePart(text, '\n', line);) {
    if (line.empty()) break;  // something else follows
    std::string_view csn;
    if (!TakePart(line, ' ', csn)) return false;
    Add(csn, line);
  }
  base_ = std::max(base_, std::string(base));
  return text.empty() || text.ends_with('\n');  // a text that was cut off ends within a line
}

}  // namespace wkagent
