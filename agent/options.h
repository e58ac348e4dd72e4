#ifndef WKAGENT_AGENT_OPTIONS_H
#define WKAGENT_AGENT_OPTIONS_H

#include <string>

#include "agent/test_alert.h"

namespace wkagent {

enum class FeedKind { kAuditlog, kJsonl, kAccesslog };

// What the command line asks for.
struct Options {
  std::string home;
  FeedKind feedKind = FeedKind::kAuditlog;
  std::string feedPath;  // "-" is standard input; else absolute
  std::string caFile;    // absolute; empty for the system's certificates
  bool follow = false;
  bool fromStart = false;
  bool syslog = false;
  bool holdAlerts = false;
  std::string user;  // "NAME" or "NAME:GROUP" to become; empty to stay
  bool sandbox = true;
  TestAlert testAlert;
  bool checkConfig = false;  // then there may be no feed
};

// Reads the command line. Returns -1 when the agent is to run, else the status to exit with: after
// --help and --version, or after an error, which has been printed.
[[nodiscard]] int ReadOptions(int argc, char** argv, Options& options);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_OPTIONS_H
