#ifndef WKAGENT_AGENT_CHECK_ALERT_CHECK_H
#define WKAGENT_AGENT_CHECK_ALERT_CHECK_H

#include "agent/check/check_report.h"
#include "agent/check/list_check.h"

namespace wkagent {

// Checks the alerts of one statement: can they be raised, and does a mail reach anyone?
void CheckAlerts(const StatementSource& source, CheckReport& report);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_ALERT_CHECK_H
