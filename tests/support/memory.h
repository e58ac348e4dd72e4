#ifndef WKAGENT_TESTS_SUPPORT_MEMORY_H
#define WKAGENT_TESTS_SUPPORT_MEMORY_H

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

#include <sys/types.h>

namespace wkagent::test {

// The most memory, in KiB, that a running process has had resident so far.
inline long PeakMemoryOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with("VmHWM:")) continue;
    long size = 0;
    std::istringstream(line.substr(line.find(':') + 1)) >> size;
    return size;
  }
  throw std::runtime_error("no such process: " + std::to_string(process));
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_MEMORY_H
