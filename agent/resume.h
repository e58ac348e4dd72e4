#ifndef WKAGENT_AGENT_RESUME_H
#define WKAGENT_AGENT_RESUME_H

#include <string>

#include "agent/options.h"
#include "agent/pipeline.h"
#include "agent/source.h"

namespace wkagent {

// Has the source go on where an earlier process ended, cuts the live audit files back to there, and
// has the pipeline keep the position from there on. A position that cannot be used is set aside
// with a message, and nothing is cut; so is any with --from-start. A followed file and one that is
// read once have positions of their own. After the source was opened and before the pipeline
// starts. `home` is for messages.
void Resume(const std::string& home, const Options& options, Source& source, Pipeline& pipeline);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_RESUME_H
