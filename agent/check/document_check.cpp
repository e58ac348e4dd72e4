#include "agent/check/document_check.h"

#include <map>
#include <string>

#include "agent/check/attribute_check.h"
#include "agent/check/name_distance.h"
#include "agent/check/xml_element.h"
#include "config/xml_walk.h"

namespace wkagent {
namespace {

class DocumentCheck {
 public:
  DocumentCheck(WKConfigFile& file, const DocumentRules& rules, CheckReport& report)
      : file_(file),
        rules_(rules),
        report_(report),
        hasFilters_(FindElement(rules, kFilterElement) != nullptr) {}

  void Visit(xmlNode* element) {
    const ElementRule* const rule = FindElement(rules_, ElementName(element));
    if (rule == nullptr) {
      // The root may bear any name.
      if (element != file_.rootNode && !IsInValue(element)) ReportUnknown(element);
      return;
    }
    if (rule->name == std::string_view(kFilterElement)) BeginFilter(element);
    CheckPlace(element, *rule);
    if (!rule->repeats) CheckRepetition(element);
    CheckAttributes(file_, element, *rule, report_);
    if (rule->hasContent) CheckContent(element, *rule);
  }

 private:
  // True below a value, known or not, that a "<" has broken. It may be a password, so what stands
  // in it is not for messages.
  [[nodiscard]] bool IsInValue(const xmlNode* element) const {
    for (const xmlNode* node = element->parent; node != nullptr && node != file_.rootNode;
         node = node->parent) {
      if (node->type != XML_ELEMENT_NODE) continue;
      const std::string_view name = ElementName(node);
      if (IsValueElement(name)) return true;
      if (FindElement(rules_, name) == nullptr && HoldsText(node)) return true;
    }
    return false;
  }

  void ReportUnknown(const xmlNode* element) {
    const std::string_view name = ElementName(element);
    std::vector<std::string_view> known;
    for (const ElementRule& rule : rules_.elements) known.emplace_back(rule.name);
    if (rules_.grouped && HoldsElements(element)) return;
    const std::string_view nearest = NearestName(name, known);
    const std::string text = "unknown element " + std::string(name) + " is ignored; ";
    if (!nearest.empty()) {
      report_.Error(LineOf(element), text + "did you mean " + std::string(nearest) + "?");
    } else if (const char* const other = FileOfElement(rules_, name); other != nullptr) {
      report_.Error(LineOf(element), text + "it belongs in " + other);
    } else if (HoldsElements(element)) {
      report_.Warning(LineOf(element), text + "what it holds is read all the same");
    } else {
      report_.Error(LineOf(element), text + "remove it");
    }
  }

  void BeginFilter(const xmlNode* element) {
    if (const xmlNode* const outer = Ancestor(element, kFilterElement); outer != nullptr) {
      report_.Error(LineOf(element), "Filter stands in the Filter of line " +
                                         std::to_string(LineOf(outer)) +
                                         ", and what follows in that one configures this one; "
                                         "close the first with </Filter> before this line");
    }
    filter_ = element;
    seen_.clear();
  }

  void CheckPlace(const xmlNode* element, const ElementRule& rule) {
    const std::string name(rule.name);
    const bool isFilter = name == kFilterElement;
    if (hasFilters_ && !isFilter && filter_ == nullptr) {
      report_.Error(LineOf(element), name + " stands before the first Filter and is ignored; " +
                                         "move it into a Filter");
    } else if (hasFilters_ && !isFilter && Ancestor(element, kFilterElement) == nullptr) {
      report_.Warning(LineOf(element), name + " stands outside of a Filter and configures the " +
                                           "one of line " + std::to_string(LineOf(filter_)) +
                                           "; move it into its Filter");
    } else if (rule.parent != nullptr && ElementName(element->parent) != rule.parent) {
      report_.Warning(LineOf(element),
                      name + " stands in " + std::string(ElementName(element->parent)) +
                          " and is read all the same; move it into " + rule.parent);
    }
  }

  void CheckRepetition(const xmlNode* element) {
    const std::string name(ElementName(element));
    const auto [earlier, first] = seen_.try_emplace(name, LineOf(element));
    if (first) return;
    report_.Error(LineOf(element), name + " overrides the one of line " +
                                       std::to_string(earlier->second) + "; keep one of them");
    earlier->second = LineOf(element);
  }

  void CheckContent(xmlNode* element, const ElementRule& rule) {
    const std::string name(rule.name);
    if (HoldsElements(element)) {
      report_.Error(LineOf(element), name + " holds elements where its value should be; in a " +
                                         "value write &lt; for <");
      return;
    }
    report_.Add(LineOf(element), CheckValue({name}, rule.content, ContentText(file_, element)));
  }

  WKConfigFile& file_;
  const DocumentRules& rules_;
  CheckReport& report_;
  const bool hasFilters_;
  const xmlNode* filter_ = nullptr;   // the last one met
  std::map<std::string, long> seen_;  // the lines of what may stand once
};

}  // namespace

void CheckDocument(WKConfigFile& file, const DocumentRules& rules, CheckReport& report) {
  DocumentCheck check(file, rules, report);
  WalkElements(file.GetXMLRootNode(), [&](xmlNode* element) { check.Visit(element); });
}

bool HasElement(WKConfigFile& file, std::string_view name) {
  bool found = false;
  WalkElements(file.GetXMLRootNode(),
               [&](const xmlNode* element) { found = found || ElementName(element) == name; });
  return found;
}

}  // namespace wkagent
