#ifndef WKAGENT_TESTS_SYSLOG_BATCH_FILES_H
#define WKAGENT_TESTS_SYSLOG_BATCH_FILES_H

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "syslog/syslog_fixture.h"

namespace wkagent::test {

// The names in the folder of batch files, in byte-wise order.
inline std::vector<std::string> BatchFiles() {
  std::vector<std::string> names;
  if (!std::filesystem::exists(kStore)) return names;
  for (const auto& entry : std::filesystem::directory_iterator(kStore)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

inline std::string ContentOf(const std::string& batchFile) { return ReadFile(kStore / batchFile); }

// What lies in the batch files, in the order of their names.
inline std::string StoredText() {
  std::string text;
  for (const std::string& name : BatchFiles()) text += ContentOf(name);
  return text;
}

// Puts a batch file where earlier processes have left theirs. A pass that is under way finds it
// whole or not at all.
inline void PutBatchFile(const std::string& name, const std::string& text) {
  std::filesystem::create_directories(kStore);
  WriteFile(kAuditData / "unfinished", text);
  std::filesystem::rename(kAuditData / "unfinished", kStore / name);
}

inline std::string PathOf(const std::string& batchFile) { return kStore / batchFile; }

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SYSLOG_BATCH_FILES_H
