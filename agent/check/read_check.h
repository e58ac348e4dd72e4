#ifndef WKAGENT_AGENT_CHECK_READ_CHECK_H
#define WKAGENT_AGENT_CHECK_READ_CHECK_H

#include <wkagent/config.h>

#include "agent/check/check_report.h"

namespace wkagent {

// What the message about broken XML tells. The parser's own words may quote the broken part, which
// must not be done where it may be a password.
enum class ParserWords { kQuoted, kWithheld };

// Lets `reader` read the report's file; false, with the reason reported, where it cannot.
[[nodiscard]] bool ReadForCheck(WKConfigFile& reader, ParserWords words, CheckReport& report);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_READ_CHECK_H
