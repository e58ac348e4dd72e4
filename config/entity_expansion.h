#ifndef WKAGENT_CONFIG_ENTITY_EXPANSION_H
#define WKAGENT_CONFIG_ENTITY_EXPANSION_H

#include <libxml/tree.h>

namespace wkagent {

// False where a document's references to its own entities stand for more than ten million bytes of
// text. libxml2 sees that entities do not multiply through each other, but not how often the text
// of a long one is asked for: forty kilobytes can stand for a hundred megabytes.
[[nodiscard]] bool ExpandsWithinBounds(const xmlDoc* document);

}  // namespace wkagent

#endif  // WKAGENT_CONFIG_ENTITY_EXPANSION_H
