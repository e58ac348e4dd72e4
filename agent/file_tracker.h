#ifndef WKAGENT_AGENT_FILE_TRACKER_H
#define WKAGENT_AGENT_FILE_TRACKER_H

#include <string>

#include "agent/feed_position.h"
#include "agent/position_tracker.h"

namespace wkagent {

// The position in the file of a feed.
class FileTracker : public PositionTracker {
 public:
  // Goes on at `start`.
  FileTracker(std::string feed, const FeedPosition& start);

  void OnPlace(const FeedPlace& place, std::int64_t items) override;
  [[nodiscard]] bool NextIsRecorded() const override { return now_.total < recordedBefore_; }
  void Count() override;
  void Settle(std::uint64_t taken, std::uint64_t settled) override;
  [[nodiscard]] bool IsSettled() const override { return settled_.total == now_.total; }
  [[nodiscard]] std::string ToText() const override;

 private:
  struct Point {
    FeedPlace place;
    std::int64_t items = 0;  // since the place
    std::int64_t total = 0;  // since the start
  };

  const std::string feed_;
  const std::int64_t recordedBefore_;
  Point now_;
  Point settled_;
  Point next_;                   // becomes `settled_` ...
  std::uint64_t nextLines_ = 0;  // ... once so many lines are
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_FILE_TRACKER_H
