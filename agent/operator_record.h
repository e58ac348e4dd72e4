#ifndef WKAGENT_AGENT_OPERATOR_RECORD_H
#define WKAGENT_AGENT_OPERATOR_RECORD_H

#include <string_view>

#include <wkagent/core.h>

namespace wkagent {

// What the agent leaves for the operator beside its messages: a line in "../tmp/wkagentd.status"
// for its start, its stop and each error, and an empty marker in the outbox for each, named
// WKAgentStart, WKAgentStop or WKAgentError with the time. It works in the home's bin folder and
// belongs to one thread.
class OperatorRecord {
 public:
  OperatorRecord();

  void Started(std::string_view what);
  void Stopped(std::string_view what);
  void Error(std::string_view what);

 private:
  void Write(std::string_view what, const char* marker);

  WKStatusMessage status_;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_OPERATOR_RECORD_H
