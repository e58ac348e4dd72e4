#ifndef WKAGENT_AGENT_SETTINGS_H
#define WKAGENT_AGENT_SETTINGS_H

#include <string>

namespace wkagent {

// What the settings files say to the agent. The names are those of the elements.
struct Settings {
  int archiveThreshold = 500;   // ArmThreshold: records an audit file
  int pollSeconds = 10;         // PollInterval: between attempts to archive
  int blocks = 5000;            // MaxEDIRMemoryBlocks: events between reader and worker
  int quietMilliseconds = 200;  // EDIRQueueThreadDelay: before records are made visible
  int lookMilliseconds = 200;   // EDIRVigilThreadDelay: between two looks at the feed
};

inline constexpr char kDaemonSettingsFile[] = "DaemonSettings.xml";
inline constexpr char kMemorySettingsFile[] = "WKMemorySettings.xml";

// Reads "../config/DaemonSettings.xml" and "../config/WKMemorySettings.xml". A file that does not
// exist leaves the defaults, and a number that cannot be used is replaced by the nearest that can.
// Empty, or what is wrong, with `settings` as they were.
[[nodiscard]] std::string ReadSettings(Settings& settings);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_SETTINGS_H
