#ifndef WKAGENT_AGENT_CHECK_TIME_WINDOW_CHECK_H
#define WKAGENT_AGENT_CHECK_TIME_WINDOW_CHECK_H

#include <wkagent/filter.h>

#include "agent/check/check_report.h"

struct _xmlNode;

namespace wkagent {

// Checks the times of a Filter element and, where they count, when its window is open: from EndTime
// to StartTime of one day.
void CheckTimeWindow(WKConfigFile& file, _xmlNode* filter, const WKFilterStatement& statement,
                     CheckReport& report);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_TIME_WINDOW_CHECK_H
