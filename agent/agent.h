#ifndef WKAGENT_AGENT_AGENT_H
#define WKAGENT_AGENT_AGENT_H

#include "agent/exit_status.h"
#include "agent/options.h"

namespace wkagent {

// Runs the agent until its input ends or a signal stops it. Once a process: it changes the working
// directory and blocks signals.
[[nodiscard]] ExitStatus RunAgent(const Options& options);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_AGENT_H
