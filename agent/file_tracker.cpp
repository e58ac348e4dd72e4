#include "agent/file_tracker.h"

#include <algorithm>
#include <utility>

namespace wkagent {

FileTracker::FileTracker(std::string feed, const FeedPosition& start)
    : feed_(std::move(feed)),
      recordedBefore_(start.recorded),
      now_{start.place, start.done, 0},
      settled_(now_),
      next_(now_) {}

void FileTracker::OnPlace(const FeedPlace& place, std::int64_t items) {
  now_.place = place;
  now_.items = items;
}

void FileTracker::Count() {
  ++now_.items;
  ++now_.total;
}

void FileTracker::Settle(std::uint64_t taken, std::uint64_t settled) {
  if (settled < nextLines_) return;
  settled_ = settled < taken ? next_ : now_;
  next_ = now_;
  nextLines_ = taken;
}

std::string FileTracker::ToText() const {
  const std::int64_t recorded = std::max(now_.total, recordedBefore_) - settled_.total;
  return FeedPosition{settled_.place, settled_.items, recorded}.ToText(feed_);
}

}  // namespace wkagent
