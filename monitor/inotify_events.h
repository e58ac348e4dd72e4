#ifndef WKAGENT_MONITOR_INOTIFY_EVENTS_H
#define WKAGENT_MONITOR_INOTIFY_EVENTS_H

#include <cstddef>
#include <cstring>

#include <sys/inotify.h>
#include <unistd.h>

namespace wkagent {

// An inotify descriptor that does not block and does not cross exec; -1 with perror(3) on failure.
[[nodiscard]] int OpenInotify();

// Watches a directory for files that were written and closed. Returns the watch, -1 on failure.
[[nodiscard]] int WatchDirectory(int inotifyFd, const char* path);

// One reading of pending events.
class InotifyEvents {
 public:
  // Reads without waiting and returns what read(2) returned.
  ssize_t Read(int inotifyFd) {
    filled_ = read(inotifyFd, buffer_, sizeof(buffer_));
    return filled_;
  }

  // Calls `visit(name)` for every event with a name. Returns the name length of the last event.
  template <typename Visit>
  int ForEachName(Visit visit) {
    int lastLength = 0;
    const auto end = static_cast<std::size_t>(filled_ < 0 ? 0 : filled_);
    for (std::size_t at = 0; at + sizeof(inotify_event) <= end;) {
      inotify_event header{};
      std::memcpy(&header, buffer_ + at, sizeof(header));
      char* const name = buffer_ + at + sizeof(header);
      if (header.len > 0) visit(name);
      overflowed_ = overflowed_ || (header.mask & IN_Q_OVERFLOW) != 0;
      lastLength = static_cast<int>(header.len);
      at += sizeof(header) + header.len;
    }
    return lastLength;
  }

  // True when some of those that were visited so far stood for events that the system dropped.
  [[nodiscard]] bool Overflowed() const { return overflowed_; }

 private:
  alignas(inotify_event) char buffer_[32768] = {};
  ssize_t filled_ = 0;
  bool overflowed_ = false;
};

}  // namespace wkagent

#endif  // WKAGENT_MONITOR_INOTIFY_EVENTS_H
