#ifndef WKAGENT_AGENT_CHECK_STATEMENT_CHECK_H
#define WKAGENT_AGENT_CHECK_STATEMENT_CHECK_H

#include "agent/check/check_report.h"
#include "agent/check/list_check.h"
#include "agent/check/statement_rules.h"

namespace wkagent {

// Checks what one statement means: when, what and whom it covers, and which alerts it raises.
void CheckStatement(WKConfigFile& file, const StatementSource& source, const StatementRules& rules,
                    CheckReport& report);

// True when the statement drops every event.
[[nodiscard]] bool DropsEverything(WKFilterStatement& statement, const StatementRules& rules);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_STATEMENT_CHECK_H
