#ifndef WKAGENT_AGENT_CONFIG_WATCH_H
#define WKAGENT_AGENT_CONFIG_WATCH_H

#include <chrono>
#include <string>
#include <vector>

#include <sys/stat.h>

#include <wkagent/monitor.h>

namespace wkagent {

// Tells which files of "../config" have been written or replaced. WKFileMonitor tells at once of a
// file that was written in place; one that another was renamed to is known by its inode and times,
// which are looked at from time to time. It belongs to one thread.
class ConfigWatch {
 public:
  // The name of a file of that folder; empty for any other path.
  [[nodiscard]] static std::string NameInHome(const std::string& path);

  // Empty names are ignored. Changes count from now on, so it is made before the files are read.
  explicit ConfigWatch(const std::vector<std::string>& names);

  // The names of the files that have changed since the last call. Cheap: it looks a few times a
  // second, however often it is called. A file that vanished has not changed, and one that is still
  // being replaced is told of once it stays the same.
  [[nodiscard]] std::vector<std::string> TakeChanges();

 private:
  // What tells one state of a file from another; all zero where there is no file.
  struct Mark {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    std::int64_t changed = 0;  // nanoseconds

    bool operator==(const Mark&) const = default;
  };
  struct Watched {
    std::string name;
    Mark known;
    Mark seen;
    bool written = false;  // the monitor has told so
  };

  [[nodiscard]] static Mark MarkOf(const std::string& name);
  void AskMonitor();

  WKFileMonitor monitor_;
  std::vector<Watched> files_;
  std::chrono::steady_clock::time_point next_;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CONFIG_WATCH_H
