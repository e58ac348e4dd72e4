#ifndef WKAGENT_TESTS_SYSLOG_OPEN_PATHS_H
#define WKAGENT_TESTS_SYSLOG_OPEN_PATHS_H

#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>

namespace wkagent::test {

// The descriptors of this process for a file whose path begins so.
inline std::vector<int> DescriptorsOf(const std::string& path) {
  std::vector<int> descriptors;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    const std::string target = std::filesystem::read_symlink(entry, gone).string();
    if (target.starts_with(path)) descriptors.push_back(std::stoi(entry.path().filename()));
  }
  return descriptors;
}

// True when exactly one descriptor is open for the path, and programs that the process starts do
// not get it.
inline bool IsOpenForThisProcessOnly(const std::string& path) {
  const std::vector<int> descriptors = DescriptorsOf(path);
  return descriptors.size() == 1 && (fcntl(descriptors[0], F_GETFD) & FD_CLOEXEC) != 0;
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SYSLOG_OPEN_PATHS_H
