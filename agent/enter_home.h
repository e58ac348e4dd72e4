#ifndef WKAGENT_AGENT_ENTER_HOME_H
#define WKAGENT_AGENT_ENTER_HOME_H

#include <string>

#include "agent/exit_status.h"
#include "agent/options.h"
#include "core/handles.h"

namespace wkagent {

// The home of the command line as an absolute path.
[[nodiscard]] std::string AbsoluteHome(const std::string& home);

// Makes the process an agent of this home, once its input is open and before it has a thread: looks
// whether the home, and the settings file of the source if it has one, are safe to use, becomes the
// user of the options, gives up all other rights, enters the home's bin folder, takes the home's
// lock, which lasts as long as `lock`, and enters the sandbox. kDone, or with a report what the
// agent is to exit with.
[[nodiscard]] ExitStatus EnterHome(const std::string& home, const Options& options,
                                   const std::string& sourceSettings, Fd& lock);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_ENTER_HOME_H
