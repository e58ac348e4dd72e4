#ifndef WKAGENT_FILTER_STATEMENT_TEXT_H
#define WKAGENT_FILTER_STATEMENT_TEXT_H

#include <cstring>

#include <wkagent/core.h>

namespace wkagent {

// Appends the characters of `text`, without terminator, to a list of names; null is ignored.
inline void AddText(CLinkList& list, char* text) {
  if (text != nullptr) list.AddNode(text, static_cast<int>(std::strlen(text)));
}

}  // namespace wkagent

#endif  // WKAGENT_FILTER_STATEMENT_TEXT_H
