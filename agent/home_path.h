#ifndef WKAGENT_AGENT_HOME_PATH_H
#define WKAGENT_AGENT_HOME_PATH_H

#include <string>
#include <string_view>

namespace wkagent {

// The files of the home's config folder that the agent reads.
inline constexpr const char* kSettingsFiles[] = {"EDAFilter.xml",      "ELAFilter.xml",
                                                 "DaemonSettings.xml", "WKMemorySettings.xml",
                                                 "SMTPSettings.cfg",   "SNMPSettings.cfg"};

// For messages: the path in the home that the library knows as "../...", seen from the home's bin
// folder.
[[nodiscard]] inline std::string InHome(const std::string& home, std::string_view path) {
  constexpr std::string_view kParent = "../";
  if (!path.starts_with(kParent)) return std::string(path);
  return home + "/" + std::string(path.substr(kParent.size()));
}

}  // namespace wkagent

#endif  // WKAGENT_AGENT_HOME_PATH_H
