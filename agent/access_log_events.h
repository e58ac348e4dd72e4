#ifndef WKAGENT_AGENT_ACCESS_LOG_EVENTS_H
#define WKAGENT_AGENT_ACCESS_LOG_EVENTS_H

#include <string>
#include <string_view>

#include "agent/access_log_entry.h"
#include "agent/change_events.h"
#include "agent/feed.h"

namespace wkagent {

// Turns entries of cn=accesslog into events. A bind is a login, also one that failed, whose result
// code becomes `Status`; an unbind is a logout; a change that succeeded raises the events of
// ChangeEvents. Steps of a bind that goes on, failed changes and all other operations raise none.
// The log does not hold the client's address.
class AccessLogEvents {
 public:
  // Both names are written into every event.
  AccessLogEvents(FeedSink& sink, std::string_view serverName, std::string_view treeName);

  // Empty, or why the entry cannot be understood; it raises no events then. The reason holds no
  // values.
  [[nodiscard]] std::string Take(const AccessLogEntry& entry);

 private:
  void EmitSession(const AccessLogEntry& entry, unsigned short code);
  [[nodiscard]] std::string ReadModifications(const AccessLogEntry& entry);

  FeedSink& sink_;
  const std::string serverName_;
  const std::string treeName_;
  ChangeEvents changes_;
  std::string_view entryClass_;  // of an added entry
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_ACCESS_LOG_EVENTS_H
