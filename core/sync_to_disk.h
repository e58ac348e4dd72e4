#ifndef WKAGENT_CORE_SYNC_TO_DISK_H
#define WKAGENT_CORE_SYNC_TO_DISK_H

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "core/handles.h"

namespace wkagent {

// Each has the system put something on the disk, and returns 0 or errno. A file system that cannot
// do that has nothing to be told.

// What the file at `path` holds.
[[nodiscard]] inline int SyncContent(const std::string& path) {
  const Fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!fd.IsOpen()) return errno;
  return fdatasync(fd.Get()) == 0 || errno == EINVAL ? 0 : errno;
}

// That a file bears the name `path`, or no longer does, which syncing its content does not promise.
[[nodiscard]] inline int SyncName(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const Fd fd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!fd.IsOpen()) return errno;
  return fsync(fd.Get()) == 0 || errno == EINVAL ? 0 : errno;
}

}  // namespace wkagent

#endif  // WKAGENT_CORE_SYNC_TO_DISK_H
