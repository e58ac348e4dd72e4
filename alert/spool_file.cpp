#include "alert/spool_file.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <optional>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/bounded_copy.h"
#include "core/commands.h"
#include "core/own_file.h"
#include "core/shell_command.h"

namespace wkagent {
namespace {

constexpr mode_t kMode = 0600;  // alerts name users and what they did
constexpr std::chrono::seconds kPatience(5);

bool WriteWhole(int file, std::string_view data) {
  const ssize_t written = ::write(file, data.data(), data.size());
  if (written >= 0 && static_cast<std::size_t>(written) < data.size()) errno = ENOSPC;
  return written == static_cast<ssize_t>(data.size());
}

// Opens a spool file for a moment's work on it, its lock taken: after a clock was set back, alerts
// may be appended to a file that is being replayed. One that was removed or replaced meanwhile is
// opened anew. Not open, with errno set, where that fails.
Fd OpenLocked(const char* path, int flags) {
  for (;;) {
    Fd file = OpenOwnFile(path, flags, kMode);
    // A file system without locks is no reason not to spool.
    if (!file.IsOpen() || ::flock(file.Get(), LOCK_EX) != 0) return file;
    struct stat opened {};
    struct stat named {};
    if (::fstat(file.Get(), &opened) != 0) return Fd();
    const bool gone = ::lstat(path, &named) != 0 ? errno == ENOENT : named.st_ino != opened.st_ino;
    if (!gone) return file;
  }
}

// What has been appended behind `offset`; nothing where it cannot be read.
std::optional<std::string> ReadFrom(int file, off_t offset) {
  std::string text;
  char block[4096];
  ssize_t count = 0;
  while ((count = ::pread(file, block, sizeof(block), offset)) > 0) {
    text.append(block, static_cast<std::size_t>(count));
    offset += count;
  }
  if (count < 0) return std::nullopt;
  return text;
}

bool ReplaceByRename(const char* path, std::string_view data) {
  const std::string fresh = std::string(path) + ".new";
  if (!RemoveFormer(fresh.c_str())) return false;
  {
    const Fd file = OpenOwnFile(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL, kMode);
    if (!file.IsOpen()) return false;
    if (!WriteWhole(file.Get(), data)) {
      ::unlink(fresh.c_str());
      return false;
    }
  }
  return std::rename(fresh.c_str(), path) == 0;
}

// For a disk without room for a second file: what is left is never longer than what there was. A
// crash in between may leave records twice.
bool Overwrite(int file, std::string_view data) {
  const ssize_t written = ::pwrite(file, data.data(), data.size(), 0);
  return written == static_cast<ssize_t>(data.size()) && ::ftruncate(file, written) == 0;
}

}  // namespace

void ReplaceMessage(WKAlert& owner, const char* text) {
  if (text == nullptr || text[0] == '\0') return;
  char copy[sizeof(owner.message)] = {};  // `text` may be the message itself
  CopyBounded(copy, text);
  std::memcpy(owner.message, copy, sizeof(copy));
}

bool AppendToSpool(const char* kind, const TimeStamp& stamp, std::string_view data) {
  const std::string path = std::string("../tmp/") + kind + '.' + stamp.data() + ".txt";
  const Fd file = OpenLocked(path.c_str(), O_WRONLY | O_APPEND | O_CREAT);
  if (!file.IsOpen()) return false;
  const off_t size = ::lseek(file.Get(), 0, SEEK_END);
  if (WriteWhole(file.Get(), data)) return true;
  // Half a record would shift all that follow it.
  const int error = errno;
  [[maybe_unused]] const int cut = size < 0 ? -1 : ::ftruncate(file.Get(), size);
  errno = error;
  return false;
}

void SpoolLine(WKAlert& owner, const char* kind) {
  if (owner.message[0] == '\0') return;
  const std::string line = std::string(BoundedView(owner.message)) + '\n';
  if (!AppendToSpool(kind, FormatTimeStamp(std::time(nullptr)), line)) LogSpoolFailure(owner, kind);
}

void LogSpoolFailure(WKAlert& owner, const char* kind) {
  FormatBounded(owner.statusText, "Cannot write %s spool file: %s", kind,
                std::system_category().message(errno).c_str());
  owner.LogStatus(owner.statusText);
}

File OpenSpool(const char* path) {
  if (path == nullptr) return nullptr;
  // A link could lead to any file of the system, a pipe would never end.
  Fd file(::open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
  struct stat status {};
  if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return nullptr;
  }
  File stream(::fdopen(file.Get(), "r"));
  if (stream != nullptr) (void)file.Release();
  return stream;
}

bool CouldNotRead(WKAlert& owner, std::FILE* file) {
  if (std::ferror(file) == 0) return false;
  CopyBounded(owner.statusText, "Cannot read spool file to its end");
  owner.LogStatus(owner.statusText);
  return true;
}

int RemoveSpool(const char* path) {
  if (CommandsAreForbidden()) return DeleteFile(path);
  return RunOnPath((std::string("rm -f ") + path).c_str(), "rm", path);
}

void SpoolReplayer::Try(std::string_view record, const std::function<bool()>& send) {
  using Clock = std::chrono::steady_clock;
  over_ = over_ || mode_.IsStopped();
  if (over_) {
    untried_ += record;
    return;
  }
  const Clock::time_point start = Clock::now();
  if (send() || !mode_.keep) return;
  failed_ += record;
  over_ = mode_.stop != nullptr && Clock::now() - start > kPatience;
}

int SpoolReplayer::Finish(const char* path, File read) const {
  const long seen = std::ftell(read.get());
  read.reset();
  if (mode_.stop == nullptr && failed_.empty()) return RemoveSpool(path);
  const std::string left = untried_ + failed_;
  const bool unchanged = untried_.empty() && static_cast<long>(left.size()) == seen;
  if (unchanged) return 0;
  const Fd file = OpenLocked(path, O_RDWR);
  if (!file.IsOpen()) return errno == ENOENT ? 0 : 1;
  const std::optional<std::string> appended = ReadFrom(file.Get(), seen);
  if (!appended) return 1;
  const std::string all = left + *appended;
  if (all.empty()) return ::unlink(path) == 0 ? 0 : 1;
  return ReplaceByRename(path, all) || Overwrite(file.Get(), all) ? 0 : 1;
}

int ReplayLines(WKAlert& owner, const char* path, const ReplayMode& mode,
                const std::function<bool()>& send) {
  File file = OpenSpool(path);
  if (file == nullptr) return 0;
  SpoolReplayer replayer(mode);
  char line[sizeof(owner.message)] = {};
  while (std::fgets(line, sizeof(line), file.get()) != nullptr) {
    std::memcpy(owner.message, line, sizeof(line));
    replayer.Try(line, send);
  }
  if (CouldNotRead(owner, file.get())) return 1;
  return replayer.Finish(path, std::move(file));
}

std::string SpoolPath(WKAlert& owner, const char* name) {
  const std::string_view text = name == nullptr ? "" : name;
  const bool bare = !text.empty() && text.size() <= NAME_MAX && text != "." && text != ".." &&
                    text.find('/') == std::string_view::npos;
  if (bare) return "../tmp/" + std::string(text);
  FormatBounded(owner.statusText, "Not the name of a spool file: %.200s", text.data());
  owner.LogStatus(owner.statusText);
  return {};
}

}  // namespace wkagent
