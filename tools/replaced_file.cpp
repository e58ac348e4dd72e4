#include "tools/replaced_file.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/handles.h"

namespace wkagent {
namespace {

[[noreturn]] void Fail() { throw std::runtime_error(std::strerror(errno)); }

// While it lives, the signals by which operators end a program wait.
class HeldSignals {
 public:
  HeldSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, &before_);
  }
  ~HeldSignals() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

 private:
  sigset_t before_{};
};

// A file of mode 0600 in a folder, which is removed unless it is renamed.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& folder)
      : path_(folder / ".wkcrypt-XXXXXX"), file_(mkostemp(path_.data(), O_CLOEXEC)) {
    if (!file_.IsOpen()) Fail();
  }
  ~TemporaryFile() {
    if (!renamed_) unlink(path_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  void Write(std::string_view bytes) const {
    while (!bytes.empty()) {
      const ssize_t length = write(file_.Get(), bytes.data(), bytes.size());
      if (length < 0) Fail();
      bytes.remove_prefix(static_cast<std::size_t>(length));
    }
    if (fsync(file_.Get()) != 0) Fail();
  }

  void Rename(const std::string& to, Existing existing) {
    const unsigned flags = existing == Existing::kKeep ? RENAME_NOREPLACE : 0;
    int result = renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, to.c_str(), flags);
    // Not every file system can look and rename in one step.
    if (result != 0 && errno == EINVAL) result = std::rename(path_.c_str(), to.c_str());
    if (result != 0) Fail();
    renamed_ = true;
  }

 private:
  std::string path_;
  Fd file_;
  bool renamed_ = false;
};

}  // namespace

std::string ReasonNotToWrite(const std::string& path, Existing existing) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return "";
  if (!S_ISREG(status.st_mode)) return "is no regular file";
  return existing == Existing::kKeep ? "exists; --force replaces it" : "";
}

void WriteWhole(const std::string& path, std::string_view bytes, Existing existing) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  const HeldSignals held;
  TemporaryFile file(folder.empty() ? "." : folder);
  file.Write(bytes);
  file.Rename(path, existing);
}

}  // namespace wkagent
