#ifndef WKAGENT_AGENT_EXIT_STATUS_H
#define WKAGENT_AGENT_EXIT_STATUS_H

namespace wkagent {

// What wkagentd exits with; the numbers are those of sysexits(3).
enum ExitStatus : int {
  kDone = 0,
  kUsageError = 64,
  kInputMissing = 66,
  kUnavailable = 69,
  kInternalError = 70,
  kOutputFailed = 73,
  kBadConfiguration = 78,
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_EXIT_STATUS_H
