// Any XML file: what the base of all readers says of its elements.

#include <wkagent/config.h>

#include "config/xml_library.h"
#include "config/xml_walk.h"
#include "fuzz/xml_reader.h"

namespace wkagent::fuzz {
namespace {

std::string Shown(const char* text) {
  return text == nullptr ? "(null)" : std::string(1, '=') + text;
}

// The value of an attribute without a star at each end.
std::string Bare(xmlNode* element, const xmlChar* name) {
  const XmlText value(reinterpret_cast<char*>(xmlGetProp(element, name)));
  std::string text = value.get();
  if (text.starts_with('*')) text.erase(0, 1);
  if (text.size() > 1 && text.ends_with('*')) text.pop_back();
  return text;
}

std::string Describe(WKConfigFile& file) {
  std::string text;
  WalkElements(file.GetXMLRootNode(), [&](xmlNode* element) {
    text.append(reinterpret_cast<const char*>(element->name));
    for (const xmlAttr* attribute = element->properties; attribute != nullptr;
         attribute = attribute->next) {
      std::string name(reinterpret_cast<const char*>(attribute->name));
      const std::string value = Shown(file.GetTagValue(element, name.data()));
      Require(value == '=' + Bare(element, attribute->name), "a star at each end is dropped");
      text.append(" ").append(name).append(value);
    }
    char missing[] = "no such attribute";
    Require(file.GetTagValue(element, missing) == nullptr, "what is missing has no value");
    text.append(Shown(file.GetNodeContent(element))).append("\n");
  });
  return text;
}

}  // namespace
}  // namespace wkagent::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  CheckReader<WKConfigFile>({reinterpret_cast<const char*>(data), size}, Describe);
  return 0;
}
