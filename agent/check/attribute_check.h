#ifndef WKAGENT_AGENT_CHECK_ATTRIBUTE_CHECK_H
#define WKAGENT_AGENT_CHECK_ATTRIBUTE_CHECK_H

#include <wkagent/config.h>

#include "agent/check/check_report.h"
#include "agent/check/document_rules.h"

struct _xmlNode;

namespace wkagent {

// Holds the attributes of one element against its rule: unknown ones, missing ones, values.
void CheckAttributes(WKConfigFile& file, _xmlNode* element, const ElementRule& rule,
                     CheckReport& report);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_ATTRIBUTE_CHECK_H
