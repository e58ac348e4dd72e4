#ifndef WKAGENT_MONITOR_WILDCARD_H
#define WKAGENT_MONITOR_WILDCARD_H

namespace wkagent {

// True when the pattern matches the whole name: "*" stands for any run of characters, also none,
// "?" for one, any other for itself. Null matches nothing.
[[nodiscard]] bool MatchesWildcard(const char* pattern, const char* name);

}  // namespace wkagent

#endif  // WKAGENT_MONITOR_WILDCARD_H
