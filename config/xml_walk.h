#ifndef WKAGENT_CONFIG_XML_WALK_H
#define WKAGENT_CONFIG_XML_WALK_H

#include <libxml/tree.h>

namespace wkagent {

// Calls `visit(xmlNode*)` for every element among `first`, its following siblings and all that lies
// below them, depth first: an element before its children, and these before its next sibling.
template <typename Visit>
void WalkElements(xmlNode* first, Visit visit) {
  const xmlNode* const top = first == nullptr ? nullptr : first->parent;
  xmlNode* node = first;
  while (node != nullptr) {
    if (node->type == XML_ELEMENT_NODE) visit(node);
    // Only an element's children are its own: those of an entity reference belong to the DTD.
    if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
      node = node->children;
      continue;
    }
    while (node->next == nullptr && node->parent != top) node = node->parent;
    node = node->next;
  }
}

// True when the element bears exactly this name.
inline bool HasName(const xmlNode* element, const char* name) {
  return xmlStrEqual(element->name, reinterpret_cast<const xmlChar*>(name)) != 0;
}

}  // namespace wkagent

#endif  // WKAGENT_CONFIG_XML_WALK_H
