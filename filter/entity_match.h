#ifndef WKAGENT_FILTER_ENTITY_MATCH_H
#define WKAGENT_FILTER_ENTITY_MATCH_H

#include <string_view>

#include <wkagent/core.h>

namespace wkagent {

// The list check of WKFilterStatement::EntityMatch, for a value that need not be terminated.
[[nodiscard]] bool EntityOccurs(std::string_view value, CLinkList& list);

}  // namespace wkagent

#endif  // WKAGENT_FILTER_ENTITY_MATCH_H
