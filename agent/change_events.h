#ifndef WKAGENT_AGENT_CHANGE_EVENTS_H
#define WKAGENT_AGENT_CHANGE_EVENTS_H

#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "agent/feed.h"

namespace wkagent {

// Who changed which entry, and when. Names are LDAP names (RFC 4514).
struct ChangeOrigin {
  std::string_view entry;
  std::string_view user;
  std::string_view address;
  std::string_view entryClass;
  std::string_view tree;  // as it is written
  std::time_t time = 0;
};

// ChangeEvents turns a change of a directory into events: an added or deleted entry, a rename and a
// move are one each, and so is every attribute value that is added (also with a new entry),
// replaced or deleted. Operational attributes raise none. A change is collected, then emitted or
// dropped as a whole.
class ChangeEvents {
 public:
  // `serverName` is written into every event.
  ChangeEvents(FeedSink& sink, std::string_view serverName);

  // Drops what was collected.
  void Clear();

  // Each collects a part of the change. Views must stay valid until it is emitted.
  void EntryAdded();
  void EntryDeleted();
  void EntryRenamed(std::string_view name, std::string_view newRdn, std::string_view newParent);
  void Value(std::string_view attribute, std::string_view value, bool removed);

  void Emit(const ChangeOrigin& origin);

 private:
  struct Change {
    unsigned short code;
    std::string_view attribute;
    std::string_view value;
  };

  void EmitOne(const Change& change);

  FeedSink& sink_;
  tagWKEventData event_{};
  std::string user_;  // whose dotted form the event holds
  std::vector<Change> changes_;
  std::string newName_;  // of a renamed entry, as it is written
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHANGE_EVENTS_H
