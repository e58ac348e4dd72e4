// The batch file that a retry handler writes.

#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <wkagent/syslog.h>

#include "core/handles.h"
#include "core/time_stamp.h"
#include "syslog/append_file.h"
#include "syslog/diagnostic_log.h"
#include "syslog/pending_files.h"

namespace {

constexpr mode_t kDirectoryMode = 0777;
constexpr mode_t kFileMode = 0600;  // audit lines are nobody else's business
constexpr int kMostOpenings = 1000;

std::string BatchPath(int counter) {
  const std::tm now = wkagent::LocalTime(std::time(nullptr));
  char stamp[32];
  std::strftime(stamp, sizeof(stamp), "%Y%m%d_%H%M%S", &now);
  return std::string(WKSyslogRetryHandler::RETRY_DIRECTORY) + '/' + wkagent::kBatchFilePrefix +
         stamp + '_' + std::to_string(::getpid()) + '_' + std::to_string(counter) + ".log";
}

// True when somebody has removed the file that is being written.
bool IsRemoved(int file) {
  struct stat status {};
  return ::fstat(file, &status) == 0 && status.st_nlink == 0;
}

}  // namespace

bool WKSyslogRetryHandler::saveToBatchFile(const std::string& line) {
  if (IsInPass()) {
    fileMutex.AssertHeld();  // the pass that called back holds it
    return Append(line);
  }
  const wkagent::MutexLock lock(fileMutex);
  return Append(line);
}

bool WKSyslogRetryHandler::Append(const std::string& line) {
  ::mkdir(RETRY_DIRECTORY, kDirectoryMode);
  if (linesInBatch >= MAX_LINES_PER_BATCH_FILE || IsRemoved(batchFd_)) CloseBatchFile();
  if (!batchFile.is_open() && !OpenBatchFile()) {
    wkagent::retryLog.Report("Failed to open file: " + currentBatchPath);
    return false;
  }
  batchFile << line << '\n';
  ++linesInBatch;
  batchFile.flush();
  if (!batchFile.good()) {
    TakeBackTornLine();
    return false;
  }
  batchSize_ += static_cast<std::int64_t>(line.size() + 1);
  return true;
}

// Each attempt has a number of its own, so a file that another handler holds is passed over.
bool WKSyslogRetryHandler::OpenBatchFile() {
  for (int attempts = 0; attempts < kMostOpenings; ++attempts) {
    ++batchCounter;
    linesInBatch = 0;
    currentBatchPath = BatchPath(batchCounter);
    wkagent::Fd file = wkagent::OpenForAppending(currentBatchPath.c_str(), kFileMode);
    if (!file.IsOpen()) return false;
    if (!wkagent::LockBatchFile(file.Get())) continue;
    struct stat status {};
    ::fstat(file.Get(), &status);
    batchSize_ = status.st_size;
    batchFd_ = file.Get();
    wkagent::Attach(batchFile, std::move(file));
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
  wkagent::retryLog.Report("Failed to write file: " + currentBatchPath);
  // Closing tries to write once more, so the file is cut afterwards, still under its lock.
  const wkagent::Fd file(::fcntl(batchFd_, F_DUPFD_CLOEXEC, 0));
  CloseBatchFile();
  --linesInBatch;
  if (batchSize_ == 0) {
    ::unlink(currentBatchPath.c_str());
  } else if (::ftruncate(file.Get(), batchSize_) != 0) {
    wkagent::retryLog.Report("Failed to cut file: " + currentBatchPath);
  }
}
