#include "agent/check/document_rules.h"

#include <algorithm>
#include <iterator>

namespace wkagent {
namespace {

const DocumentRules* const kDocuments[] = {&kEdaFilterRules,      &kElaFilterRules,
                                           &kDaemonSettingsRules, &kMemorySettingsRules,
                                           &kLdapSettingsRules,   &kManagerListRules};

}  // namespace

const ElementRule* FindElement(const DocumentRules& rules, std::string_view name) {
  for (const ElementRule& rule : rules.elements) {
    if (rule.name == name) return &rule;
  }
  return nullptr;
}

const char* FileOfElement(const DocumentRules& rules, std::string_view name) {
  for (const DocumentRules* const other : kDocuments) {
    if (other != &rules && FindElement(*other, name) != nullptr) return other->file;
  }
  return nullptr;
}

bool IsValueElement(std::string_view name) {
  return std::any_of(std::begin(kDocuments), std::end(kDocuments), [&](const DocumentRules* rules) {
    const ElementRule* const rule = FindElement(*rules, name);
    return rule != nullptr && rule->hasContent;
  });
}

}  // namespace wkagent
