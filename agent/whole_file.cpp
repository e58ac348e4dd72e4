#include "agent/whole_file.h"

#include <cerrno>
#include <cstdio>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

#include "core/own_file.h"
#include "core/sync_to_disk.h"

namespace wkagent {
namespace {

constexpr mode_t kMode = 0640;

// Writes the text and puts it on the disk.
bool WriteFresh(const std::string& path, std::string_view text) {
  if (!RemoveFormer(path.c_str())) return false;
  const Fd file = OpenOwnFile(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, kMode);
  if (!file.IsOpen()) return false;
  while (!text.empty()) {
    const ssize_t written = write(file.Get(), text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return fsync(file.Get()) == 0;
}

bool SyncedName(const std::string& path) {
  const int error = SyncName(path);
  errno = error;
  return error == 0;
}

}  // namespace

bool LoadFile(const std::string& path, std::string& text) {
  const File file = OpenOwnStream(path.c_str(), O_RDONLY, "r");
  if (file == nullptr) return false;
  text.clear();
  char block[4096];
  std::size_t count = 0;
  while ((count = std::fread(block, 1, sizeof(block), file.get())) > 0) text.append(block, count);
  return std::ferror(file.get()) == 0;
}

bool ReplaceFile(const std::string& path, const std::string& text) {
  const std::string fresh = path + ".new";
  if (WriteFresh(fresh, text) && std::rename(fresh.c_str(), path.c_str()) == 0) {
    return SyncedName(path);
  }
  const int error = errno;
  unlink(fresh.c_str());
  errno = error;
  return false;
}

bool RemoveFile(const std::string& path) {
  unlink((path + ".new").c_str());
  if (unlink(path.c_str()) != 0) return errno == ENOENT;
  return SyncedName(path);
}

}  // namespace wkagent
