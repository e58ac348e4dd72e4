#include "agent/feed_progress.h"

namespace wkagent {

void FeedProgress::StartAt(const FeedPlace& place, std::int64_t done) {
  place_ = place;
  items_ = 0;
  skip_ = done;
}

void FeedProgress::StartFile(const FileMark& file) { StartAt({.file = file}, 0); }

void FeedProgress::Announce() {
  // Who asks now is told of what will be left out as well: it has been dealt with.
  const std::int64_t items = items_ + skip_;
  if (place_ == announced_ && items == announcedItems_) return;
  announced_ = place_;
  announcedItems_ = items;
  next_.OnPlace(place_, items);
}

void FeedProgress::OnEvent(tagWKEventData& event) {
  if (!IsDone()) next_.OnEvent(event);
}

void FeedProgress::OnMalformed(long line, std::string_view reason) {
  if (!IsDone()) next_.OnMalformed(line, reason);
}

void FeedProgress::OnBoundary(std::int64_t offset, long line) {
  place_.offset = offset;
  place_.line = line;
  items_ = 0;
}

bool FeedProgress::IsDone() {
  ++items_;
  if (skip_ == 0) return false;
  --skip_;
  return true;
}

}  // namespace wkagent
