#include <exception>

#include "agent/agent.h"
#include "agent/config_check.h"
#include "agent/exit_status.h"
#include "agent/options.h"
#include "agent/report.h"

int main(int argc, char** argv) {
  try {
    wkagent::Options options;
    const int status = wkagent::ReadOptions(argc, argv, options);
    if (status >= 0) return status;
    return options.checkConfig ? wkagent::CheckConfig(options.home) : wkagent::RunAgent(options);
  } catch (const std::exception& error) {
    wkagent::Report(error.what());
    return wkagent::kInternalError;
  }
}
