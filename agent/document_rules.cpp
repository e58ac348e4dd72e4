#include "agent/document_rules.h"

namespace wkagent {

const ElementRule* FindElement(const DocumentRules& rules, std::string_view name) {
  for (const ElementRule& rule : rules.elements) {
    if (rule.name == name) return &rule;
  }
  return nullptr;
}

const char* FileOfElement(const DocumentRules& rules, std::string_view name) {
  for (const DocumentRules* other :
       {&kEdaFilterRules, &kElaFilterRules, &kDaemonSettingsRules, &kMemorySettingsRules,
        &kLdapSettingsRules, &kManagerListRules}) {
    if (other != &rules && FindElement(*other, name) != nullptr) return other->file;
  }
  return nullptr;
}

}  // namespace wkagent
