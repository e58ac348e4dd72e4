#ifndef WKAGENT_AGENT_CHECK_XML_ELEMENT_H
#define WKAGENT_AGENT_CHECK_XML_ELEMENT_H

#include <optional>
#include <string>
#include <string_view>

#include <libxml/tree.h>

#include <wkagent/config.h>

#include "config/xml_attribute.h"

namespace wkagent {

// Questions about the elements of a file that the library has read.

[[nodiscard]] inline std::string_view ElementName(const xmlNode* element) {
  return reinterpret_cast<const char*>(element->name);
}

// The line on which the element's start tag ends: the parser keeps no other.
[[nodiscard]] inline long LineOf(const xmlNode* element) { return xmlGetLineNo(element); }

// The value of an attribute as the readers see it, nothing where there is none.
[[nodiscard]] inline std::optional<std::string> AttributeText(WKConfigFile& file, xmlNode* element,
                                                              std::string_view name) {
  std::string key(name);
  const char* const value = file.GetTagValue(element, key.data());
  if (value == nullptr) return {};
  return value;
}

// The same as the file has it.
[[nodiscard]] inline std::optional<std::string> WrittenAttribute(const xmlNode* element,
                                                                 const char* name) {
  const XmlText value = AttributeValue(element, name);
  if (value == nullptr) return {};
  return value.get();
}

[[nodiscard]] inline std::string ContentText(WKConfigFile& file, xmlNode* element) {
  const char* const content = file.GetNodeContent(element);
  return content == nullptr ? "" : content;
}

// The nearest element above this one that bears the name, null where none does.
[[nodiscard]] inline const xmlNode* Ancestor(const xmlNode* element, std::string_view name) {
  for (const xmlNode* node = element->parent; node != nullptr; node = node->parent) {
    if (node->type == XML_ELEMENT_NODE && ElementName(node) == name) return node;
  }
  return nullptr;
}

[[nodiscard]] inline bool HoldsElements(const xmlNode* element) {
  for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE) return true;
  }
  return false;
}

// True when text stands right in the element.
[[nodiscard]] inline bool HoldsText(const xmlNode* element) {
  for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
    const bool text = child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE;
    if (text && xmlIsBlankNode(child) == 0) return true;
  }
  return false;
}

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_XML_ELEMENT_H
