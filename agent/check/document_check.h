#ifndef WKAGENT_AGENT_CHECK_DOCUMENT_CHECK_H
#define WKAGENT_AGENT_CHECK_DOCUMENT_CHECK_H

#include <string_view>

#include <wkagent/config.h>

#include "agent/check/check_report.h"
#include "agent/check/document_rules.h"

namespace wkagent {

// Holds every element of the document that `file` has read against the rules of its kind: names,
// places, repetitions, attributes and values. What the elements mean together is not its business.
void CheckDocument(WKConfigFile& file, const DocumentRules& rules, CheckReport& report);

// True when the document has an element of this name.
[[nodiscard]] bool HasElement(WKConfigFile& file, std::string_view name);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_DOCUMENT_CHECK_H
