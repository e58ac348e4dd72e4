#ifndef WKAGENT_AGENT_EVENT_CODES_H
#define WKAGENT_AGENT_EVENT_CODES_H

#include <string_view>

namespace wkagent {

// The event codes that changes of a directory raise.
enum EventCode : unsigned short {
  kEntryAdded = 20001,
  kEntryDeleted = 20002,
  kEntryRenamed = 20003,
  kEntryMoved = 20004,
  kValueAdded = 20005,
  kValueRemoved = 20006,
  kPasswordChanged = 20007,
  kMembershipAdded = 20008,
  kMembershipRemoved = 20009,
  kReplicaChanged = 20010,
  kReplicaRemoved = 20011,
  kAttributeTypeAdded = 20012,
  kAttributeTypeRemoved = 20013,
  kObjectClassAdded = 20014,
  kObjectClassRemoved = 20015,
  kSchemaChanged = 20016,
  kLogin = 21001,
  kLogout = 21002,
};

// The code of a value of `attribute`, whose options do not matter, that was added (or replaced) or
// removed; 0 for operational attributes, which raise no event.
[[nodiscard]] unsigned short AttributeEventCode(std::string_view attribute, bool removed);

// True for the codes whose value is the name of a second object.
[[nodiscard]] bool NamesSecondObject(unsigned short code);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_EVENT_CODES_H
