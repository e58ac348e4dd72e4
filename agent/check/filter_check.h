#ifndef WKAGENT_AGENT_CHECK_FILTER_CHECK_H
#define WKAGENT_AGENT_CHECK_FILTER_CHECK_H

#include "agent/check/check_report.h"

namespace wkagent {

// Each reads a filter file, prints its statements, and checks it whole.
void CheckEdaFilter(CheckReport& report);
void CheckElaFilter(CheckReport& report);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_FILTER_CHECK_H
