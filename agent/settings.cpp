#include "agent/settings.h"

#include <algorithm>

#include <sys/stat.h>

#include <wkagent/config.h>

#include "agent/report.h"

namespace wkagent {
namespace {

constexpr int kMostBlocks = 1'000'000;
constexpr int kLongestDelay = 60'000;     // milliseconds
constexpr int kLongestInterval = 86'400;  // seconds

// Reads one file; empty, also where it does not exist, or what is wrong.
template <typename Reader>
std::string ReadOptional(Reader& reader, const char* name) {
  struct stat status {};
  if (stat((std::string("../config/") + name).c_str(), &status) != 0) return {};
  reader.InitializeLogMessage(IgnoreLibraryMessage);  // the reason is reported by the caller
  return reader.Read() == 0 ? std::string() : std::string(reader.GetReadError());
}

}  // namespace

std::string ReadSettings(Settings& settings) {
  WKDaemonSettings daemon;
  WKMemorySettings memory;
  std::string error = ReadOptional(daemon, kDaemonSettingsFile);
  if (error.empty()) error = ReadOptional(memory, kMemorySettingsFile);
  if (!error.empty()) return error;
  settings = {
      .archiveThreshold = daemon.GetArchiveThreshold(),
      .pollSeconds = std::clamp(daemon.GetPollInterval(), 1, kLongestInterval),
      .blocks = std::clamp(memory.GetMaxEDIRMemoryBlocks(), 1, kMostBlocks),
      .quietMilliseconds = std::clamp(memory.GetEDIRQueueThreadDelay(), 1, kLongestDelay),
      .lookMilliseconds = std::clamp(memory.GetEDIRLDAPThreadDelay(), 1, kLongestDelay),
  };
  return {};
}

}  // namespace wkagent
