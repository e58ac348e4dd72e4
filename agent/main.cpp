#include <exception>

#include "agent/agent.h"
#include "agent/check/config_check.h"
#include "agent/check/syslog_check.h"
#include "agent/exit_status.h"
#include "agent/options.h"
#include "agent/private_memory.h"
#include "agent/report.h"
#include "agent/test_alert.h"

int main(int argc, char** argv) {
  try {
    wkagent::KeepMemoryPrivate();
    wkagent::Options options;
    const int status = wkagent::ReadOptions(argc, argv, options);
    if (status >= 0) return status;
    if (!options.testAlert.kind.empty()) {
      return wkagent::SendTestAlert(options.home, options.testAlert);
    }
    if (!options.checkConfig) return wkagent::RunAgent(options);
    const bool ldap = options.feedKind == wkagent::FeedKind::kAccesslog;
    return wkagent::CheckConfig(options.home, ldap ? options.feedPath : "",
                                options.syslog ? wkagent::kSyslogSettingsPath : "");
  } catch (const std::exception& error) {
    wkagent::Report(error.what());
    return wkagent::kInternalError;
  }
}
