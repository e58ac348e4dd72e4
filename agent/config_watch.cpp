#include "agent/config_watch.h"

#include <filesystem>
#include <utility>

#include "agent/report.h"

namespace wkagent {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kInterval(100);
constexpr int kReportedName = 50;  // bytes of a node of WKFileMonitor::IsFileModified

char configFolder[] = "../config";

}  // namespace

ConfigWatch::ConfigWatch(const std::vector<std::string>& names) : next_(steady_clock::now()) {
  monitor_.InitializeLogMessage(ReportLibraryMessage);
  monitor_.SetDirectoryToMonitor(configFolder);
  for (const std::string& name : names) {
    if (name.empty()) continue;
    monitor_.AddFileToMonitor(const_cast<char*>(name.c_str()));
    const Mark mark = MarkOf(name);
    files_.push_back({.name = name, .known = mark, .seen = mark});
  }
}

std::string ConfigWatch::NameInHome(const std::string& path) {
  std::error_code error;
  const std::filesystem::path file(path);
  const bool inside = std::filesystem::equivalent(file.parent_path(), configFolder, error);
  return inside && !error ? file.filename().string() : std::string();
}

std::vector<std::string> ConfigWatch::TakeChanges() {
  std::vector<std::string> changed;
  const auto now = steady_clock::now();
  if (now < next_) return changed;
  next_ = now + kInterval;
  AskMonitor();
  for (Watched& file : files_) {
    const Mark mark = MarkOf(file.name);
    const bool settled = mark == std::exchange(file.seen, mark);
    const bool replaced = settled && mark != file.known;
    if (mark == Mark() || !(std::exchange(file.written, false) || replaced)) continue;
    file.known = mark;
    changed.push_back(file.name);
  }
  return changed;
}

void ConfigWatch::AskMonitor() {
  CLinkList names;
  // After a failure, the marks tell.
  (void)monitor_.FindModifiedFiles(names);
  char name[kReportedName + 1] = {};
  names.SetHead();
  while (names.GetNode(name, kReportedName) == 0) {
    for (Watched& file : files_) file.written = file.written || file.name == name;
  }
}

ConfigWatch::Mark ConfigWatch::MarkOf(const std::string& name) {
  struct stat status {};
  if (stat((std::string(configFolder) + "/" + name).c_str(), &status) != 0) return {};
  constexpr std::int64_t kNanoseconds = 1'000'000'000;
  return {.device = status.st_dev,
          .inode = status.st_ino,
          .size = status.st_size,
          .changed = status.st_ctim.tv_sec * kNanoseconds + status.st_ctim.tv_nsec};
}

}  // namespace wkagent
