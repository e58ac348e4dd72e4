#ifndef WKAGENT_AGENT_LOG_TRACKER_H
#define WKAGENT_AGENT_LOG_TRACKER_H

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>

#include "agent/log_position.h"
#include "agent/position_tracker.h"

namespace wkagent {

// Entries of an access log beyond its position of which some events, or all, have been recorded:
// how many, by the entry's ID.
using RecordedEntries = std::map<std::string, std::int64_t, std::less<>>;

// Takes lines "recorded ID NUMBER" off a text; false where one is not complete.
[[nodiscard]] bool TakeRecorded(std::string_view& text, RecordedEntries& recorded);

// The position in an access log. As a text it is that of LogPosition, an empty line, and a line for
// each recorded entry.
class LogTracker : public PositionTracker {
 public:
  LogTracker(std::string log, LogPosition position, RecordedEntries recorded);

  void OnEntryBegun(std::string_view id) override;
  void OnEntryRead(std::string_view csn, std::string_view id) override;
  [[nodiscard]] bool NextIsRecorded() const override;
  void Count() override { ++entry_.events; }
  void Settle(std::uint64_t taken, std::uint64_t settled) override;
  [[nodiscard]] bool IsSettled() const override { return ahead_.empty(); }
  [[nodiscard]] std::string ToText() const override;

 private:
  struct Entry {
    std::string csn;
    std::string id;
    std::int64_t events = 0;
  };

  const std::string log_;
  LogPosition position_;
  RecordedEntries before_;       // that have not come again
  std::deque<Entry> ahead_;      // read, and not in `position_`
  Entry entry_;                  // being read
  std::size_t next_ = 0;         // of `ahead_`, so many go to `position_` ...
  std::uint64_t nextLines_ = 0;  // ... once so many lines are settled
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_LOG_TRACKER_H
