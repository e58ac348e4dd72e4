#ifndef WKAGENT_CONFIG_XML_ATTRIBUTE_H
#define WKAGENT_CONFIG_XML_ATTRIBUTE_H

#include <string>

#include <libxml/tree.h>

#include "config/xml_library.h"

namespace wkagent {

// The value of an attribute or, where it is missing, its default in the file's DTD; null where
// there is neither. As xmlGetProp, which looks for the end of the text once for each reference in
// it, of which there may be millions.
[[nodiscard]] inline XmlText AttributeValue(const xmlNode* element, const char* name) {
  const auto* const xmlName = reinterpret_cast<const xmlChar*>(name);
  const xmlAttr* const attribute = xmlHasProp(element, xmlName);
  const bool isInPieces = attribute != nullptr && attribute->type == XML_ATTRIBUTE_NODE &&
                          attribute->children != nullptr && attribute->children->next != nullptr;
  if (!isInPieces) return XmlText(reinterpret_cast<char*>(xmlGetProp(element, xmlName)));
  std::string text;
  for (const xmlNode* piece = attribute->children; piece != nullptr; piece = piece->next) {
    const XmlText content(reinterpret_cast<char*>(xmlNodeGetContent(piece)));
    if (content != nullptr) text += content.get();
  }
  const auto* const whole = reinterpret_cast<const xmlChar*>(text.c_str());
  return XmlText(reinterpret_cast<char*>(xmlStrndup(whole, static_cast<int>(text.size()))));
}

}  // namespace wkagent

#endif  // WKAGENT_CONFIG_XML_ATTRIBUTE_H
