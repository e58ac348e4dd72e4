#include "alert/spool_file.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/bounded_copy.h"
#include "core/shell_command.h"

namespace wkagent {
namespace {

constexpr mode_t kMode = 0600;  // alerts name users and what they did

bool WriteWhole(int file, std::string_view data) {
  const ssize_t written = ::write(file, data.data(), data.size());
  if (written >= 0 && static_cast<std::size_t>(written) < data.size()) errno = ENOSPC;
  return written == static_cast<ssize_t>(data.size());
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
  const Fd file(
      ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kMode));
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

int RemoveSpool(const char* path) {
  return RunOnPath((std::string("rm -f ") + path).c_str(), "rm", path);
}

bool KeepInSpool(const char* path, const std::string& data) {
  const std::string fresh = std::string(path) + ".new";
  {
    const Fd file(
        ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, kMode));
    if (!file.IsOpen()) return false;
    if (!WriteWhole(file.Get(), data)) {
      ::unlink(fresh.c_str());
      return false;
    }
  }
  return std::rename(fresh.c_str(), path) == 0;
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
