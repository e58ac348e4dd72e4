#include "agent/followed_file.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "agent/content_hash.h"

namespace wkagent {
namespace {

constexpr std::size_t kBlockSize = std::size_t{1} << 18;
constexpr std::size_t kHeadSize = 1024;
constexpr std::int64_t kTellingHead = 64;  // bytes that two files do not share by accident

// How a file is related to a mark.
enum class Likeness { kOther, kCopy, kSame };

std::string HeadOf(const Fd& fd, std::int64_t size) {
  std::string head(static_cast<std::size_t>(size), '\0');
  const ssize_t count = pread(fd.Get(), head.data(), head.size(), 0);
  head.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  return head;
}

Likeness Compare(const Fd& fd, const FileMark& mark, std::int64_t offset) {
  struct stat status {};
  const bool usable = mark.headSize >= 0 && mark.headSize <= std::int64_t{kHeadSize};
  if (!usable || fstat(fd.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return Likeness::kOther;
  if (status.st_size < std::max(offset, mark.headSize)) return Likeness::kOther;
  if (ContentHash(HeadOf(fd, mark.headSize)) != mark.headHash) return Likeness::kOther;
  if (status.st_dev == mark.device && status.st_ino == mark.inode) return Likeness::kSame;
  return mark.headSize >= kTellingHead ? Likeness::kCopy : Likeness::kOther;
}

Fd OpenToRead(const std::string& path) {
  return Fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
}

// The file of the mark beside `path`: itself, under another name, or else a copy of it.
Fd FindRotated(const std::string& path, const FileMark& mark, std::int64_t offset) {
  Fd copy;
  std::error_code error;
  const auto folder = std::filesystem::path(path).parent_path();
  for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    if (!entry->is_regular_file(error)) continue;
    Fd fd = OpenToRead(entry->path().string());
    const Likeness likeness = fd.IsOpen() ? Compare(fd, mark, offset) : Likeness::kOther;
    if (likeness == Likeness::kSame) return fd;
    if (likeness == Likeness::kCopy) copy = std::move(fd);
  }
  return copy;
}

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
  rotated_ = false;
  head_.clear();
  LookAtHead();
  return true;
}

// What has been appended to a short file since the last look belongs to its head as well.
void FollowedFile::LookAtHead() {
  if (HasMark() && head_.size() < kHeadSize) head_ = HeadOf(fd_, kHeadSize);
}

bool FollowedFile::GoOnAt(const FileMark& mark, std::int64_t offset) {
  if (!HasMark()) return false;
  if (Compare(fd_, mark, offset) == Likeness::kSame) return SeekTo(offset);
  Fd rotated = FindRotated(path_, mark, offset);
  if (!rotated.IsOpen()) return false;
  fd_ = std::move(rotated);
  rotated_ = NameHasMoved();
  return SeekTo(offset);
}

bool FollowedFile::SeekTo(std::int64_t offset) {
  head_.clear();
  LookAtHead();
  return lseek(fd_.Get(), offset, SEEK_SET) == offset;
}

FileMark FollowedFile::Mark() const {
  struct stat status {};
  if (fstat(fd_.Get(), &status) != 0) return {};
  return {.device = status.st_dev,
          .inode = status.st_ino,
          .headSize = static_cast<std::int64_t>(head_.size()),
          .headHash = ContentHash(head_)};
}

FollowedFile::State FollowedFile::Read() {
  filled_ = 0;
  const ssize_t count = read(fd_.Get(), buffer_.data(), buffer_.size());
  if (count > 0) {
    filled_ = static_cast<std::size_t>(count);
    LookAtHead();
    return State::kData;
  }
  if (count == 0) return AtEnd();
  if (errno == EAGAIN || errno == EINTR) return State::kNothing;
  error_ = errno;
  return State::kFailed;
}

FollowedFile::State FollowedFile::AtEnd() {
  if (rotated_) return ChangeOver();
  if (!follow_ || !regular_ || path_ == "-") return State::kEnd;
  struct stat status {};
  if (fstat(fd_.Get(), &status) == 0 && status.st_size < lseek(fd_.Get(), 0, SEEK_CUR)) {
    lseek(fd_.Get(), 0, SEEK_SET);
    head_.clear();
    LookAtHead();
    return State::kReplaced;
  }
  if (!NameHasMoved()) {
    lastLook_ = false;
    return State::kNothing;
  }
  // A writer may have added to the old file until just before it was renamed: read once more.
  if (!std::exchange(lastLook_, true)) return State::kNothing;
  lastLook_ = false;
  return ChangeOver();
}

// To the file that bears the name now.
FollowedFile::State FollowedFile::ChangeOver() {
  Fd old = std::move(fd_);
  if (Open()) return State::kReplaced;
  fd_ = std::move(old);  // the new one is not there yet
  return follow_ ? State::kNothing : State::kFailed;
}

bool FollowedFile::NameHasMoved() const {
  struct stat open {};
  struct stat named {};
  if (fstat(fd_.Get(), &open) != 0 || stat(path_.c_str(), &named) != 0) return false;
  return open.st_dev != named.st_dev || open.st_ino != named.st_ino;
}

int FollowedFile::WaitFd() const { return regular_ ? -1 : fd_.Get(); }

}  // namespace wkagent
