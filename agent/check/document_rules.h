#ifndef WKAGENT_AGENT_CHECK_DOCUMENT_RULES_H
#define WKAGENT_AGENT_CHECK_DOCUMENT_RULES_H

// What may stand in each of the files of the home's config folder, as tables. The readers of the
// library tell elements by their exact names, wherever they stand, and ignore all others.

#include <span>
#include <string_view>

#include "agent/check/value_rules.h"

namespace wkagent {

enum class Need {
  kOptional,
  kWanted,     // its absence changes nothing, though the format has it
  kRequired,   // its absence changes what the agent does
  kWithAlert,  // required where the attribute Alert of the element is not 0
};

struct AttributeRule {
  const char* name = "";
  ValueRule value;
  Need need = Need::kRequired;
};

struct ElementRule {
  const char* name = "";
  const char* parent = nullptr;  // the element that it belongs in; null is any
  bool repeats = false;          // may stand more than once, in a Filter or else in the file
  bool hasContent = false;       // has a content, which is a value by the rule `content`
  ValueRule content = {};
  std::span<const AttributeRule> attributes = {};
};

struct DocumentRules {
  const char* file;
  std::span<const ElementRule> elements;
  bool grouped = false;  // other elements may hold these
};

inline constexpr char kFilterElement[] = "Filter";

extern const DocumentRules kEdaFilterRules;
extern const DocumentRules kElaFilterRules;
extern const DocumentRules kDaemonSettingsRules;
extern const DocumentRules kMemorySettingsRules;
extern const DocumentRules kLdapSettingsRules;
extern const DocumentRules kManagerListRules;

// Null where the file knows no such element.
[[nodiscard]] const ElementRule* FindElement(const DocumentRules& rules, std::string_view name);

// The file, another than that of `rules`, in which such an element belongs; null where none.
[[nodiscard]] const char* FileOfElement(const DocumentRules& rules, std::string_view name);

// True when in some file such an element's content is a value.
[[nodiscard]] bool IsValueElement(std::string_view name);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_DOCUMENT_RULES_H
