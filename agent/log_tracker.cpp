#include "agent/log_tracker.h"

#include <algorithm>
#include <utility>

#include "agent/text_lines.h"

namespace wkagent {

bool TakeRecorded(std::string_view& text, RecordedEntries& recorded) {
  while (TakeWord(text, "recorded ")) {
    std::string_view id;
    std::int64_t events = 0;
    if (!TakePart(text, ' ', id) || !TakeNumber(text, '\n', events)) return false;
    recorded[std::string(id)] = events;
  }
  return true;
}

LogTracker::LogTracker(std::string log, LogPosition position, RecordedEntries recorded)
    : log_(std::move(log)), position_(std::move(position)), before_(std::move(recorded)) {}

void LogTracker::OnEntryBegun(std::string_view id) { entry_ = {.csn = {}, .id = std::string(id)}; }

void LogTracker::OnEntryRead(std::string_view csn, std::string_view id) {
  ahead_.push_back({std::string(csn), std::string(id), entry_.events});
  before_.erase(std::string(id));
  entry_ = {};
}

bool LogTracker::NextIsRecorded() const {
  const auto found = before_.find(entry_.id);
  return found != before_.end() && entry_.events < found->second;
}

void LogTracker::Settle(std::uint64_t taken, std::uint64_t settled) {
  if (settled < nextLines_) return;
  const std::size_t count = settled < taken ? next_ : ahead_.size();
  for (std::size_t i = 0; i < count; ++i) {
    position_.Add(ahead_.front().csn, ahead_.front().id);
    ahead_.pop_front();
  }
  next_ = ahead_.size();
  nextLines_ = taken;
}

std::string LogTracker::ToText() const {
  RecordedEntries recorded = before_;
  for (const Entry& entry : ahead_) recorded[entry.id] = entry.events;
  if (entry_.events > 0) {
    std::int64_t& events = recorded[entry_.id];
    events = std::max(events, entry_.events);
  }
  std::string text = position_.ToText(log_) + '\n';
  for (const auto& [id, events] : recorded) {
    text.append("recorded ").append(id).append(1, ' ').append(std::to_string(events)) += '\n';
  }
  return text;
}

}  // namespace wkagent
