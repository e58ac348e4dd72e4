#include "config/entity_expansion.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <unordered_map>

#include "config/xml_walk.h"

namespace wkagent {
namespace {

constexpr std::size_t kMostBytes = 10'000'000;  // as libxml2 allows for a text without references

std::size_t Length(const xmlChar* text) {
  return text == nullptr ? 0 : std::strlen(reinterpret_cast<const char*>(text));
}

// The sizes of the texts of entities. An entity is looked at once.
class Expansions {
 public:
  // What the references among a node and its following siblings stand for.
  [[nodiscard]] std::size_t OfReferences(const xmlNode* first) {
    std::size_t bytes = 0;
    for (const xmlNode* node = first; node != nullptr; node = node->next) {
      if (node->type == XML_ENTITY_REF_NODE)
        bytes += OfEntity(xmlGetDocEntity(node->doc, node->name));
    }
    return bytes;
  }

 private:
  [[nodiscard]] std::size_t OfEntity(const xmlEntity* entity) {
    if (entity == nullptr) return 0;
    // The parser sees to it that entities do not name each other; should it not, this ends.
    const auto [size, isNew] = sizes_.try_emplace(entity, 0);
    if (!isNew) return size->second;
    // Cut, so that no sum overflows.
    return sizes_[entity] = std::min(OfText(entity->children), kMostBytes + 1);
  }

  // The text of a node, its following siblings and all below them. The parser bounds how deep
  // elements lie in each other.
  [[nodiscard]] std::size_t OfText(const xmlNode* first) {
    std::size_t bytes = OfReferences(first);
    for (const xmlNode* node = first; node != nullptr; node = node->next) {
      if (node->type == XML_ELEMENT_NODE) bytes += OfText(node->children);
      if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) {
        bytes += Length(node->content);
      }
    }
    return bytes;
  }

  std::unordered_map<const xmlEntity*, std::size_t> sizes_;
};

}  // namespace

bool ExpandsWithinBounds(const xmlDoc* document) {
  if (document->intSubset == nullptr) return true;
  Expansions expansions;
  std::size_t bytes = 0;
  WalkElements(xmlDocGetRootElement(document), [&](const xmlNode* element) {
    bytes += expansions.OfReferences(element->children);
    for (const xmlAttr* attribute = element->properties; attribute != nullptr;
         attribute = attribute->next) {
      bytes += expansions.OfReferences(attribute->children);
    }
  });
  return bytes <= kMostBytes;
}

}  // namespace wkagent
