#ifndef WKAGENT_AGENT_EVENT_BATCH_H
#define WKAGENT_AGENT_EVENT_BATCH_H

#include <cstddef>
#include <cstdint>

#include <wkagent/output.h>

namespace wkagent {

// Events in the order in which they were added, without the unused ends of their texts: most events
// need a fraction of their fields. It is copied as bytes, and belongs to one thread at a time.
class EventBatch {
 public:
  // Adds an event; false, with nothing added, where there is no room. An empty batch has room for
  // any event.
  [[nodiscard]] bool Add(const tagWKEventData& event);

  // Takes the next event out; false where there is none. Of `event`, what lies behind the end of a
  // text stays as it was.
  [[nodiscard]] bool Take(tagWKEventData& event);

  void Clear() { used_ = taken_ = 0; }

 private:
  static constexpr std::size_t kSize = sizeof(tagWKEventData) + 24;

  std::uint32_t used_;
  std::uint32_t taken_;
  char bytes_[kSize];
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_EVENT_BATCH_H
