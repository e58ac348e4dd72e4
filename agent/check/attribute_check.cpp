#include "agent/check/attribute_check.h"

#include <string>

#include "agent/check/name_distance.h"
#include "agent/check/xml_element.h"
#include "config/xml_values.h"

namespace wkagent {
namespace {

const AttributeRule* FindAttribute(const ElementRule& rule, std::string_view name) {
  for (const AttributeRule& attribute : rule.attributes) {
    if (attribute.name == name) return &attribute;
  }
  return nullptr;
}

// Never quotes the value, which may be a password in the wrong place.
std::string UnknownAttribute(const ElementRule& rule, std::string_view name) {
  std::vector<std::string_view> known;
  for (const AttributeRule& attribute : rule.attributes) known.emplace_back(attribute.name);
  const std::string text =
      std::string(rule.name) + " has no attribute " + std::string(name) + ", so it is ignored; ";
  if (const std::string_view nearest = NearestName(name, known); !nearest.empty()) {
    return text + "did you mean " + std::string(nearest) + "?";
  }
  if (!rule.hasContent) return text + "remove it";
  return text + "write the value between <" + rule.name + "> and </" + rule.name + ">";
}

// What to write for an attribute that is not there. A text in the element may be meant for it.
std::string Completion(WKConfigFile& file, xmlNode* element, const AttributeRule& attribute) {
  const ValuePlace place{ElementName(element), attribute.name};
  if (attribute.value.kind == ValueKind::kFlag) {
    return Write(place, "1") + " or " + Write(place, "0");
  }
  if (attribute.value.kind != ValueKind::kUnchecked) {
    return Write(place, std::to_string(attribute.value.least));
  }
  const std::string content = HoldsElements(element) ? "" : ContentText(file, element);
  const std::string_view meant = WithoutBlanks(content);
  return Write(place, meant.empty() ? attribute.value.example : meant);
}

void ReportMissing(WKConfigFile& file, xmlNode* element, const AttributeRule& attribute,
                   CheckReport& report) {
  std::string text = std::string(ElementName(element)) + " has no attribute " + attribute.name +
                     ", which " + MissingValue(attribute.value) + "; write " +
                     Completion(file, element, attribute);
  if (attribute.need == Need::kWanted) return report.Warning(LineOf(element), std::move(text));
  report.Error(LineOf(element), std::move(text));
}

bool IsRequired(WKConfigFile& file, xmlNode* element, Need need) {
  if (need != Need::kWithAlert) return need != Need::kOptional;
  return ToFlag(AttributeText(file, element, "Alert").value_or("").c_str());
}

}  // namespace

void CheckAttributes(WKConfigFile& file, _xmlNode* element, const ElementRule& rule,
                     CheckReport& report) {
  for (const xmlAttr* attribute = element->properties; attribute != nullptr;
       attribute = attribute->next) {
    const std::string_view name = reinterpret_cast<const char*>(attribute->name);
    // Those of a namespace, such as xml:space, are for other programs.
    if (attribute->ns != nullptr || FindAttribute(rule, name) != nullptr) continue;
    report.Error(LineOf(element), UnknownAttribute(rule, name));
  }
  for (const AttributeRule& attribute : rule.attributes) {
    const auto text = AttributeText(file, element, attribute.name);
    if (text) {
      report.Add(LineOf(element), CheckValue({rule.name, attribute.name}, attribute.value, *text));
    } else if (IsRequired(file, element, attribute.need)) {
      ReportMissing(file, element, attribute, report);
    }
  }
}

}  // namespace wkagent
