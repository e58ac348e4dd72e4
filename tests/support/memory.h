#ifndef WKAGENT_TESTS_SUPPORT_MEMORY_H
#define WKAGENT_TESTS_SUPPORT_MEMORY_H

#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>

#include <sys/types.h>

#include "support/sanitized.h"

namespace wkagent::test {

// How much memory a process may take, in KiB. A sanitizer's own says nothing about the product's.
constexpr long MostMemory([[maybe_unused]] long size) {
#ifdef WKAGENT_TEST_SANITIZED
  return std::numeric_limits<long>::max();
#else
  return size;
#endif
}

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
