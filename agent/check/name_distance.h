#ifndef WKAGENT_AGENT_CHECK_NAME_DISTANCE_H
#define WKAGENT_AGENT_CHECK_NAME_DISTANCE_H

#include <cstddef>
#include <string_view>
#include <vector>

namespace wkagent {

// How many letters have to be inserted, removed or replaced to make one name of the other, whatever
// the case.
[[nodiscard]] std::size_t NameDistance(std::string_view left, std::string_view right);

// Which of `candidates` a misspelled name may mean: the first of the nearest ones. Empty where none
// is as near as two letters and shares a letter with the name.
[[nodiscard]] std::string_view NearestName(std::string_view name,
                                           const std::vector<std::string_view>& candidates);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_NAME_DISTANCE_H
