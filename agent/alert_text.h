#ifndef WKAGENT_AGENT_ALERT_TEXT_H
#define WKAGENT_AGENT_ALERT_TEXT_H

#include <string>

#include <wkagent/output.h>

namespace wkagent {

// What an alert says of an event, in one line of at most 255 bytes:
// "attribute value added: bob.sales.acme, title=clerk; by admin.acme from 192.0.2.1 at 2026-11-20
// 23:59:59, status 0". A longer one is cut after a whole character.
[[nodiscard]] std::string AlertText(const tagWKEventData& event);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_ALERT_TEXT_H
