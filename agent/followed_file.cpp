#include "agent/followed_file.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace wkagent {
namespace {

constexpr std::size_t kBlockSize = std::size_t{1} << 18;

}  // namespace

FollowedFile::FollowedFile(std::string path, bool follow)
    : path_(std::move(path)), follow_(follow), buffer_(kBlockSize) {}

bool FollowedFile::Open() {
  // Without waiting: the agent waits for signals and for input at one place.
  fd_.Reset(path_ == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                         : open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!fd_.IsOpen() || fstat(fd_.Get(), &status) != 0) {
    error_ = errno;
    return false;
  }
  if (S_ISDIR(status.st_mode)) {
    error_ = EISDIR;
    return false;
  }
  regular_ = S_ISREG(status.st_mode);
  return true;
}

FollowedFile::State FollowedFile::Read() {
  filled_ = 0;
  const ssize_t count = read(fd_.Get(), buffer_.data(), buffer_.size());
  if (count > 0) {
    filled_ = static_cast<std::size_t>(count);
    return State::kData;
  }
  if (count == 0) return AtEnd();
  if (errno == EAGAIN || errno == EINTR) return State::kNothing;
  error_ = errno;
  return State::kFailed;
}

FollowedFile::State FollowedFile::AtEnd() {
  if (!follow_ || !regular_ || path_ == "-") return State::kEnd;
  struct stat status {};
  if (fstat(fd_.Get(), &status) == 0 && status.st_size < lseek(fd_.Get(), 0, SEEK_CUR)) {
    lseek(fd_.Get(), 0, SEEK_SET);
    return State::kReplaced;
  }
  if (!NameHasMoved()) {
    lastLook_ = false;
    return State::kNothing;
  }
  // A writer may have added to the old file until just before it was renamed: read once more.
  if (!std::exchange(lastLook_, true)) return State::kNothing;
  lastLook_ = false;
  Fd old = std::move(fd_);
  if (Open()) return State::kReplaced;
  fd_ = std::move(old);  // the new one is not there yet
  return State::kNothing;
}

bool FollowedFile::NameHasMoved() const {
  struct stat open {};
  struct stat named {};
  if (fstat(fd_.Get(), &open) != 0 || stat(path_.c_str(), &named) != 0) return false;
  return open.st_dev != named.st_dev || open.st_ino != named.st_ino;
}

int FollowedFile::WaitFd() const { return regular_ ? -1 : fd_.Get(); }

}  // namespace wkagent
