#ifndef WKAGENT_AGENT_POSITION_TRACKER_H
#define WKAGENT_AGENT_POSITION_TRACKER_H

#include <cstdint>
#include <string>
#include <string_view>

#include "agent/feed_place.h"

namespace wkagent {

// Follows how far a feed has been dealt with, event by event: up to one place in all respects, and
// up to a later one in the audit files only, because lines that are still on their way to the
// syslog collector would be lost with the process.
class PositionTracker {
 public:
  virtual ~PositionTracker() = default;

  // See FeedSink.
  virtual void OnPlace(const FeedPlace& /*place*/, std::int64_t /*items*/) {}
  virtual void OnEntryBegun(std::string_view /*id*/) {}
  virtual void OnEntryRead(std::string_view /*csn*/, std::string_view /*id*/) {}

  // True when an earlier process has written the event, or reported the malformed entry, that comes
  // now.
  [[nodiscard]] virtual bool NextIsRecorded() const = 0;

  // It has been dealt with, but for the collector.
  virtual void Count() = 0;

  // Of the `taken` lines for the collector that were made of what has been counted, the first
  // `settled` are out of danger.
  virtual void Settle(std::uint64_t taken, std::uint64_t settled) = 0;

  // True when that was true of all.
  [[nodiscard]] virtual bool IsSettled() const = 0;

  [[nodiscard]] virtual std::string ToText() const = 0;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_POSITION_TRACKER_H
