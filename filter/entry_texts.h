#ifndef WKAGENT_FILTER_ENTRY_TEXTS_H
#define WKAGENT_FILTER_ENTRY_TEXTS_H

#include <string>
#include <vector>

#include <wkagent/core.h>

#include "filter/upper_case.h"

namespace wkagent {

// What each entry of a list of names is looked for as, mapped, in the list's order. It depends on
// the list alone, and ends before an entry that is too long to be read.
[[nodiscard]] std::vector<std::string> EntryTexts(const CLinkList& list, const ByteMap& map);

}  // namespace wkagent

#endif  // WKAGENT_FILTER_ENTRY_TEXTS_H
