#ifndef WKAGENT_TESTS_SUPPORT_THREADS_H
#define WKAGENT_TESTS_SUPPORT_THREADS_H

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/wait_until.h"

namespace wkagent::test {

// The value of one line of a thread's status, as in proc(5): "SigBlk", "Name".
inline std::string ThreadStatus(const std::filesystem::path& task, const std::string& key) {
  std::ifstream status(task / "status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.starts_with(key + ":\t")) return line.substr(key.size() + 2);
  }
  return {};
}

// The threads of this process that bear the name, as folders of proc(5).
inline std::vector<std::filesystem::path> Threads(const std::string& name) {
  std::vector<std::filesystem::path> tasks;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    if (ThreadStatus(task, "Name") == name) tasks.push_back(task);
  }
  return tasks;
}

// True when the thread has blocked every signal that a thread can block.
inline bool BlocksAllSignals(const std::filesystem::path& task) {
  // All but SIGKILL, SIGSTOP and the two that the C library keeps for itself.
  return ThreadStatus(task, "SigBlk") == "fffffffe7ffbfeff";
}

// Waits until so many threads bear the name; the system lists one a while after it was joined.
[[nodiscard]] inline bool ThreadsAre(const std::string& name, std::size_t count) {
  return WaitUntil([&] { return Threads(name).size() == count; });
}

// Waits until none of the library's threads is there.
[[nodiscard]] inline bool NoSyslogThreadIsLeft() {
  return ThreadsAre("wk-syslog", 0) && ThreadsAre("wk-retry", 0);
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_THREADS_H
