#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include <wkagent/monitor.h>

#include "core/bounded_copy.h"
#include "core/folder_names.h"
#include "monitor/inotify_events.h"
#include "monitor/wildcard.h"

namespace {

constexpr int kReportedName = 50;
constexpr int kLongestPattern = 64;

void AppendName(const char* name, CLinkList& names) {
  char padded[NAME_MAX + 1] = {};
  wkagent::CopyBounded(padded, name);
  names.AddNode(padded, kReportedName);
}

}  // namespace

WKFileMonitor::WKFileMonitor()
    : inotifyFd(wkagent::OpenInotify()), watchDescriptor(-1), errorText{} {
  if (inotifyFd >= 0) return;
  wkagent::CopyBounded(errorText, "Error initializing inotify\n");
  LogStatus(errorText);
}

WKFileMonitor::~WKFileMonitor() {
  if (inotifyFd < 0) return;
  if (watchDescriptor >= 0) inotify_rm_watch(inotifyFd, watchDescriptor);
  close(inotifyFd);
}

int WKFileMonitor::SetDirectoryToMonitor(char* path) {
  if (directory != nullptr || path == nullptr) return 1;
  struct stat status {};
  if (stat(path, &status) != 0) {
    std::perror("Error stat");
    wkagent::FormatBounded(errorText, "Error - Unable to locate path %s to monitor\n", path);
    LogStatus(errorText);
    return 1;
  }
  directory.Assign(path);
  watchDescriptor = wkagent::WatchDirectory(inotifyFd, path);
  if (watchDescriptor >= 0) return 0;
  std::perror("inotify_add_watch");
  wkagent::FormatBounded(errorText, "Unable to set watch for %s\n", path);
  LogStatus(errorText);
  return 1;
}

int WKFileMonitor::AddFileToMonitor(char* pattern) {
  if (pattern == nullptr) return 1;
  return patterns.AddNode(pattern, static_cast<int>(std::strlen(pattern)));
}

int WKFileMonitor::wildcmp(const char* pattern, const char* name) {
  return wkagent::MatchesWildcard(pattern, name) ? 1 : 0;
}

int WKFileMonitor::NotificationRequired(char* name) {
  if (name == nullptr) return 0;
  for (const tagLinkList* node = patterns.head; node != nullptr; node = node->next) {
    char pattern[kLongestPattern + 1] = {};
    std::memcpy(pattern, node->data,
                static_cast<std::size_t>(std::min(node->size, kLongestPattern)));
    // Deliberate: without a "*" a pattern stands for itself, also where it holds a "?".
    const bool matches = std::strchr(pattern, '*') != nullptr ? wildcmp(pattern, name) == 1
                                                              : std::strcmp(pattern, name) == 0;
    if (matches) return 1;
  }
  return 0;
}

int WKFileMonitor::IsFileModified(CLinkList& changedFiles) {
  wkagent::InotifyEvents events;
  const ssize_t count = events.Read(inotifyFd);
  if (count <= 0) return static_cast<int>(count);
  return events.ForEachName([&](char* name) {
    if (NotificationRequired(name) != 0) AppendName(name, changedFiles);
  });
}

int WKFileMonitor::FindModifiedFiles(CLinkList& changedFiles) {
  wkagent::InotifyEvents events;
  std::vector<std::string> names;
  while (events.Read(inotifyFd) > 0) {
    events.ForEachName([&](char* name) { names.emplace_back(name); });
  }
  const bool listed = !events.Overflowed() || wkagent::ListFolder(directory.Get(), names);
  if (!listed) {
    wkagent::FormatBounded(errorText, "Unable to list %s: %s\n", directory.Get(),
                           std::strerror(errno));
    LogStatus(errorText);
  }
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  int count = 0;
  for (std::string& name : names) {
    if (NotificationRequired(name.data()) == 0) continue;
    AppendName(name.c_str(), changedFiles);
    ++count;
  }
  return listed ? count : -1;
}
