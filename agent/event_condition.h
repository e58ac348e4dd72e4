#ifndef WKAGENT_AGENT_EVENT_CONDITION_H
#define WKAGENT_AGENT_EVENT_CONDITION_H

#include <cstdint>
#include <cstring>

#include <wkagent/output.h>

namespace wkagent {

// The condition of a login event, which the filter looks at and the record does not hold. It
// travels in the part of the event that belongs to the host.

inline void SetCondition(tagWKEventData& event, std::int32_t condition) {
  std::memcpy(event.reserved1, &condition, sizeof(condition));
}

[[nodiscard]] inline std::int32_t GetCondition(const tagWKEventData& event) {
  std::int32_t condition = 0;
  std::memcpy(&condition, event.reserved1, sizeof(condition));
  return condition;
}

}  // namespace wkagent

#endif  // WKAGENT_AGENT_EVENT_CONDITION_H
