// Batch files outlive the process that wrote them and are sent by whichever handler comes first, so
// several handlers, in one process or many, meet in one directory. A handler locks (flock(2)) the
// file that it writes and each file that it sends; a locked file is left alone. Without that, the
// lines written to a file between its last read and its removal would be lost.

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include <pthread.h>

#include <wkagent/syslog.h>

#include "core/broken_pipe.h"
#include "syslog/bounded_wait.h"
#include "syslog/diagnostic_log.h"
#include "syslog/pending_files.h"

namespace {

using Clock = std::chrono::steady_clock;

// For how long a file's sending goes on while somebody waits to save a line. Then it is broken off,
// though its first lines will be sent again.
constexpr std::chrono::seconds kPatience(5);

}  // namespace

WKSyslogRetryHandler::WKSyslogRetryHandler() { startRetryThread(); }

WKSyslogRetryHandler::~WKSyslogRetryHandler() { shutdown(); }

void WKSyslogRetryHandler::startRetryThread() {
  if (retryThread.joinable()) return;
  {
    const wkagent::MutexLock lock(stateMutex_);
    threadRuns_ = true;
  }
  try {
    retryThread = std::thread([this] {
      pthread_setname_np(pthread_self(), "wk-retry");
      wkagent::BlockSignalsInThisThread();
      RetryLoop();
      const wkagent::MutexLock lock(stateMutex_);
      threadRuns_ = false;
      threadEnded_.notify_all();
    });
  } catch (const std::exception&) {
    const wkagent::MutexLock lock(stateMutex_);
    threadRuns_ = false;
    throw;
  }
}

void WKSyslogRetryHandler::setSenderCallback(std::function<bool(const std::string&)> callback) {
  const wkagent::MutexLock lock(stateMutex_);
  senderCallback.swap(callback);
}

void WKSyslogRetryHandler::RetryLoop() {
  wkagent::MutexLock lock(retryMutex);
  while (!stopRequested) {
    // Not by the wall clock: setting that back must not put the pass off.
    retryCondition.wait_for(lock.Native(), std::chrono::seconds(RETRY_INTERVAL));
    if (stopRequested) return;
    try {
      RunPass(true);
    } catch (const std::exception& error) {
      wkagent::retryLog.Report("Retry thread error: ", error.what());
    }
  }
}

void WKSyslogRetryHandler::RequestStop() {
  stopRequested = true;
  retryCondition.notify_all();
}

bool WKSyslogRetryHandler::WaitForThread(std::chrono::milliseconds timeout) {
  wkagent::MutexLock lock(stateMutex_);
  return threadEnded_.wait_for(lock.Native(), wkagent::Bounded(timeout), [this] {
    stateMutex_.AssertHeld();
    return !threadRuns_;
  });
}

void WKSyslogRetryHandler::shutdown() {
  stopRequested = true;
  {
    // The thread has seen the flag, or it waits and hears the call.
    const wkagent::MutexLock lock(retryMutex);
    retryCondition.notify_all();
  }
  if (retryThread.joinable()) retryThread.join();
  const wkagent::MutexLock lock(fileMutex);
  CloseBatchFile();
}

void WKSyslogRetryHandler::SetRetryCurrentFile(bool on) { retryCurrentFile_ = on; }

bool WKSyslogRetryHandler::IsInPass() const {
  return passThread_.load() == std::this_thread::get_id();
}

std::uint64_t WKSyslogRetryHandler::RetriedCount() const { return retried_; }

void WKSyslogRetryHandler::retryPendingFiles() { RunPass(false); }

void WKSyslogRetryHandler::RunPass(bool untilStopped) {
  if (IsInPass()) return;  // the callback asked for it
  const wkagent::MutexLock lock(fileMutex);
  struct Mark {
    explicit Mark(std::atomic<std::thread::id>& owner) : thread(owner) {
      thread = std::this_thread::get_id();
    }
    ~Mark() { thread = std::thread::id(); }
    std::atomic<std::thread::id>& thread;
  };
  const Mark mark(passThread_);
  SendPendingFiles(untilStopped);
}

void WKSyslogRetryHandler::SendPendingFiles(bool untilStopped) {
  if (retryCurrentFile_) {
    CloseBatchFile();
    currentBatchPath.clear();
  }
  std::vector<std::string> paths;
  if (!wkagent::ListPendingFiles(RETRY_DIRECTORY, paths)) {
    wkagent::retryLog.Report("Failed to open retry directory: ", RETRY_DIRECTORY);
    return;
  }
  for (const std::string& path : paths) {
    if (path == currentBatchPath) continue;
    if (!SendFile(path, untilStopped)) return;
    if (retryCurrentFile_ && waitingSaves_ > 0) return;
  }
}

// Sends a file and removes it. False when the pass is to end: a line was refused, or the thread is
// to stop.
bool WKSyslogRetryHandler::SendFile(const std::string& path, bool untilStopped) {
  wkagent::PendingFile file(path, retryCurrentFile_);
  if (!file.IsOpen()) {
    if (!file.IsBusy()) wkagent::retryLog.Report("Failed to open retry file: ", path);
    return true;
  }
  Clock::time_point awaitedSince = Clock::time_point::max();
  std::string line;
  while (file.ReadLine(line)) {
    if (line.empty()) continue;
    if (untilStopped && stopRequested) return false;
    if (retryCurrentFile_ && waitingSaves_ > 0) {
      const Clock::time_point now = Clock::now();
      awaitedSince = std::min(awaitedSince, now);
      if (now - awaitedSince > kPatience) return false;
    } else {
      awaitedSince = Clock::time_point::max();
    }
    if (!SendLine(line)) {
      wkagent::retryLog.Report("Retry failed for file: ", path);
      return false;
    }
  }
  if (file.IsAtEnd() && !file.Remove()) {
    wkagent::retryLog.Report("Failed to delete file: ", path);
  }
  return true;
}

bool WKSyslogRetryHandler::SendLine(const std::string& line) {
  std::function<bool(const std::string&)> callback;
  {
    const wkagent::MutexLock lock(stateMutex_);
    callback = senderCallback;
  }
  if (callback == nullptr) return true;
  if (!callback(line)) return false;
  ++retried_;
  return true;
}
