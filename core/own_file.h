#ifndef WKAGENT_CORE_OWN_FILE_H
#define WKAGENT_CORE_OWN_FILE_H

// Files that a privileged process writes under names that others may have taken first. A symbolic
// link would lead the write elsewhere, a second name (hard link) would let it change somebody
// else's file, and a pipe would hold it up for ever.

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/handles.h"

namespace wkagent {

// True for a regular file without a second name.
[[nodiscard]] inline bool IsOwnFile(const struct stat& status) {
  return S_ISREG(status.st_mode) && status.st_nlink <= 1;
}

// The same for what stands under a name, which may be nothing.
[[nodiscard]] inline bool IsOwnFileOrNothing(const char* path) {
  struct stat status {};
  return lstat(path, &status) != 0 ? errno == ENOENT : IsOwnFile(status);
}

// open(2) for such files alone, not inherited by other programs. A file that it creates has exactly
// this mode, whatever the umask. Where it refuses one, errno is ELOOP for a symbolic link, EMLINK
// for a second name, and EISDIR, ENXIO or EINVAL for what is no file at all.
[[nodiscard]] inline Fd OpenOwnFile(const char* path, int flags, mode_t mode = 0) {
  constexpr int kAlways = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
  if ((flags & O_CREAT) != 0) {
    Fd fresh(open(path, flags | O_EXCL | kAlways, mode));
    // A file system without modes is no reason not to write.
    if (fresh.IsOpen()) (void)fchmod(fresh.Get(), mode);
    if (fresh.IsOpen() || errno != EEXIST || (flags & O_EXCL) != 0) return fresh;
  }
  // Emptied only once it is known whose it is.
  Fd file(open(path, (flags & ~(O_CREAT | O_TRUNC)) | kAlways));
  struct stat status {};
  if (!file.IsOpen() || fstat(file.Get(), &status) != 0) return {};
  if (!IsOwnFile(status)) {
    file.Reset();
    errno = S_ISREG(status.st_mode) ? EMLINK : S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  } else if ((flags & O_TRUNC) != 0 && ftruncate(file.Get(), 0) != 0) {
    file.Reset();
  }
  return file;
}

// The same for a C stream, of fdopen(3)'s mode `streamMode`; null where it is refused.
[[nodiscard]] inline File OpenOwnStream(const char* path, int flags, const char* streamMode,
                                        mode_t mode = 0) {
  Fd fd = OpenOwnFile(path, flags, mode);
  File stream(fd.IsOpen() ? fdopen(fd.Get(), streamMode) : nullptr);
  if (stream != nullptr) (void)fd.Release();
  return stream;
}

// Makes way for a new file under this name; false, with errno set, where that fails.
[[nodiscard]] inline bool RemoveFormer(const char* path) {
  return unlink(path) == 0 || errno == ENOENT;
}

}  // namespace wkagent

#endif  // WKAGENT_CORE_OWN_FILE_H
