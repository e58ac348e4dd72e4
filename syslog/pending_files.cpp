#include "syslog/pending_files.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/folder_names.h"
#include "core/own_file.h"
#include "syslog/append_file.h"

namespace wkagent {
bool ListPendingFiles(const char* directory, std::vector<std::string>& paths) {
  std::vector<std::string> names;
  if (!ListFolder(directory, names)) return false;
  for (const std::string& name : names) {
    if (name.starts_with(kBatchFilePrefix)) paths.push_back(std::string(directory) + '/' + name);
  }
  return true;
}

bool LockBatchFile(int file) {
  // A file system without locks is no reason not to store or send.
  if (::flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return false;
  struct stat status {};
  return ::fstat(file, &status) == 0 && status.st_nlink > 0;
}

PendingFile::PendingFile(const std::string& path, bool ownOnly) : path_(path) {
  // A pipe that somebody put there must not hold the pass up.
  Fd file = ownOnly ? OpenOwnFile(path_.c_str(), O_RDONLY)
                    : Fd(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file.IsOpen()) {
    busy_ = errno == ENOENT;
    return;
  }
  struct stat status {};
  if (::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  busy_ = !LockBatchFile(file.Get());
  if (busy_) return;
  auto buffer = std::make_unique<__gnu_cxx::stdio_filebuf<char>>();
  *buffer = BufferOf(std::move(file), std::ios::in);
  if (!buffer->is_open()) return;  // else it would look as if it had been read to its end
  buffer_ = std::move(buffer);
  stream_.rdbuf(buffer_.get());
}

bool PendingFile::ReadLine(std::string& line) {
  return static_cast<bool>(std::getline(stream_, line));
}

bool PendingFile::Remove() { return ::unlink(path_.c_str()) == 0; }

}  // namespace wkagent
