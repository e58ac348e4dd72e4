// The batch file that a retry handler writes.

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <wkagent/syslog.h>

#include "core/own_file.h"
#include "core/time_stamp.h"
#include "syslog/append_file.h"
#include "syslog/diagnostic_log.h"
#include "syslog/framed_lines.h"
#include "syslog/pending_files.h"

namespace {

constexpr mode_t kDirectoryMode = 0777;
constexpr mode_t kFileMode = 0600;  // audit lines are nobody else's business
constexpr int kMostOpenings = 1000;
constexpr std::size_t kLinesPerWrite = WKSyslogSender::BATCH_SIZE;

std::string BatchPath(int counter) {
  const std::tm now = wkagent::LocalTime(std::time(nullptr));
  char stamp[32];
  std::strftime(stamp, sizeof(stamp), "%Y%m%d_%H%M%S", &now);
  return std::string(WKSyslogRetryHandler::RETRY_DIRECTORY) + '/' + wkagent::kBatchFilePrefix +
         stamp + '_' + std::to_string(::getpid()) + '_' + std::to_string(counter) + ".log";
}

// With `ownOnly` a file that is nobody else's, and of kFileMode whatever the umask.
wkagent::Fd OpenNext(const char* path, bool ownOnly) {
  return ownOnly ? wkagent::OpenOwnFile(path, O_WRONLY | O_APPEND | O_CREAT, kFileMode)
                 : wkagent::OpenForAppending(path, kFileMode);
}

// Whether somebody has put a link, a second name or no file under the name.
bool IsTaken(int error) {
  return error == ELOOP || error == EMLINK || error == EISDIR || error == ENXIO || error == EINVAL;
}

// Writes all of the text, unless that fails; the number of bytes that were written.
std::size_t WriteAll(int file, std::string_view text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t result = ::write(file, text.data() + done, text.size() - done);
    if (result < 0 && errno == EINTR) continue;
    if (result <= 0) break;
    done += static_cast<std::size_t>(result);
  }
  return done;
}

}  // namespace

bool WKSyslogRetryHandler::saveToBatchFile(const std::string& line) {
  return SaveLines({&line, 1}) == 1;
}

std::size_t WKSyslogRetryHandler::SaveLines(std::span<const std::string> lines) {
  if (IsInPass()) {
    fileMutex.AssertHeld();  // the pass that called back holds it
    return Append(lines);
  }
  ++waitingSaves_;
  const wkagent::MutexLock lock(fileMutex);
  --waitingSaves_;
  return Append(lines);
}

std::size_t WKSyslogRetryHandler::Append(std::span<const std::string> lines) {
  std::size_t done = 0;
  while (done < lines.size()) {
    if (!PrepareBatchFile()) {
      wkagent::retryLog.Report("Failed to open file: ", currentBatchPath);
      return done;
    }
    const auto room = static_cast<std::size_t>(MAX_LINES_PER_BATCH_FILE - linesInBatch);
    const std::size_t most = std::min({lines.size() - done, room, kLinesPerWrite});
    const std::size_t written = WriteLines(lines.subspan(done, most));
    done += written;
    if (written < most) return done;
  }
  return done;
}

// Goes on with the open file, or opens the next one.
bool WKSyslogRetryHandler::PrepareBatchFile() {
  struct stat status {};
  // Where the file is in its place, so is the directory.
  const bool inPlace = linesInBatch < MAX_LINES_PER_BATCH_FILE && batchFile.is_open() &&
                       ::stat(currentBatchPath.c_str(), &status) == 0 &&
                       status.st_ino == batchInode_ && status.st_dev == batchDevice_;
  if (inPlace) return true;
  ::mkdir(RETRY_DIRECTORY, kDirectoryMode);
  const bool removed = ::fstat(batchFd_, &status) == 0 && status.st_nlink == 0;
  if (linesInBatch >= MAX_LINES_PER_BATCH_FILE || removed) CloseBatchFile();
  return batchFile.is_open() || OpenBatchFile();
}

// Writes past the stream, which could not tell how much the disk has taken. The number of lines
// that are in the file.
std::size_t WKSyslogRetryHandler::WriteLines(std::span<const std::string> lines) {
  const wkagent::FramedLines framed(lines);
  const std::string_view text = framed.View();
  std::size_t left = WriteAll(batchFd_, text);
  std::size_t whole = 0;
  for (; whole < lines.size() && lines[whole].size() < left; ++whole) {
    left -= lines[whole].size() + 1;
    batchSize_ += static_cast<std::int64_t>(lines[whole].size() + 1);
  }
  linesInBatch += static_cast<std::int32_t>(whole);
  if (whole < lines.size()) TakeBackTornLine();
  return whole;
}

// Each attempt has a number of its own, so a file that another handler holds is passed over.
bool WKSyslogRetryHandler::OpenBatchFile() {
  for (int attempts = 0; attempts < kMostOpenings; ++attempts) {
    ++batchCounter;
    linesInBatch = 0;
    currentBatchPath = BatchPath(batchCounter);
    wkagent::Fd file = OpenNext(currentBatchPath.c_str(), retryCurrentFile_);
    if (!file.IsOpen() && IsTaken(errno)) continue;
    if (!file.IsOpen()) return false;
    if (!wkagent::LockBatchFile(file.Get())) continue;
    struct stat status {};
    ::fstat(file.Get(), &status);
    batchSize_ = status.st_size;
    batchDevice_ = status.st_dev;
    batchInode_ = status.st_ino;
    const int fd = file.Get();
    wkagent::Attach(batchFile, std::move(file));
    if (batchFile.is_open()) batchFd_ = fd;
    return batchFile.is_open();
  }
  return false;
}

void WKSyslogRetryHandler::CloseBatchFile() {
  if (!batchFile.is_open()) return;
  batchFile.close();
  batchFd_ = -1;
}

// The disk is full, or broken: a line is in the file whole or not at all.
void WKSyslogRetryHandler::TakeBackTornLine() {
  wkagent::retryLog.Report("Failed to write file: ", currentBatchPath);
  if (batchSize_ == 0) {
    ::unlink(currentBatchPath.c_str());
  } else if (::ftruncate(batchFd_, batchSize_) != 0) {
    wkagent::retryLog.Report("Failed to cut file: ", currentBatchPath);
  }
  CloseBatchFile();
}
