#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <wkagent/monitor.h>
#include <wkagent/mutex.h>

#include "monitor/inotify_events.h"
#include "monitor/wildcard.h"

// How the destructor wakes the monitoring thread.
class WKFileMonitor1::State {
 public:
  wkagent::Mutex mutex;
  std::condition_variable stopped;
  bool running = false;
};

void (*WKFileMonitor1::callback_function)(char*) = nullptr;
int WKFileMonitor1::gfd = -1;

namespace {

constexpr std::chrono::seconds kStep(2);
constexpr int kPollMilliseconds = 100;

// Guards the two variables of the process, and a descriptor against being closed while a thread
// reads it. Held for a moment only, and never while the callback runs.
wkagent::Mutex processMutex;

// The flags of an object are written by the host's thread and read by the monitoring one.
void Store(std::uint32_t& flag, std::uint32_t value) {
  std::atomic_ref<std::uint32_t>(flag).store(value);
}

std::uint32_t Load(std::uint32_t& flag) { return std::atomic_ref<std::uint32_t>(flag).load(); }

int FdToRead() {
  const wkagent::MutexLock lock(processMutex);
  return WKFileMonitor1::gfd;
}

void (*Callback())(char*) {
  const wkagent::MutexLock lock(processMutex);
  return WKFileMonitor1::callback_function;
}

}  // namespace

WKFileMonitor1::WKFileMonitor1()
    : inotifyFd(wkagent::OpenInotify()),
      watchDescriptors{-1, -1, -1},
      watchCount(0),
      timeout(0),
      terminate(0),
      thread{},
      threadAttributes{},
      state_(std::make_unique<State>()) {
  const wkagent::MutexLock lock(processMutex);
  if (inotifyFd >= 0) gfd = inotifyFd;
  callback_function = nullptr;
}

WKFileMonitor1::~WKFileMonitor1() {
  {
    const wkagent::MutexLock lock(state_->mutex);
    Store(terminate, 1);
  }
  state_->stopped.notify_all();
  if (state_->running) {
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&threadAttributes);
  }
  if (inotifyFd < 0) return;
  for (std::uint32_t i = 0; i < watchCount; ++i) inotify_rm_watch(inotifyFd, watchDescriptors[i]);
  const wkagent::MutexLock lock(processMutex);
  if (gfd == inotifyFd) gfd = -1;
  close(inotifyFd);
}

int WKFileMonitor1::RegisterCallBack(void (*callback)(char*)) {
  const wkagent::MutexLock lock(processMutex);
  if (callback_function != nullptr) return 1;
  callback_function = callback;
  return 0;
}

void WKFileMonitor1::SetTimeout(unsigned int seconds) { Store(timeout, seconds); }

unsigned int WKFileMonitor1::GetTimeout() { return Load(timeout); }

int WKFileMonitor1::SetDirectoryToMonitor(char* directory) {
  if (watchCount == std::size(watchDescriptors) || directory == nullptr) return 1;
  struct stat status {};
  if (stat(directory, &status) != 0) {
    std::perror("Error stat");
    return 1;
  }
  const int watch = wkagent::WatchDirectory(inotifyFd, directory);
  if (watch < 0) {
    std::perror("inotify_add_watch");
    return 1;
  }
  watchDescriptors[watchCount++] = watch;
  return 0;
}

int WKFileMonitor1::AddFileToMonitor(char* pattern) {
  if (pattern == nullptr) throw std::logic_error("WKFileMonitor1: the pattern is null");
  patterns.emplace_back(pattern);
  return 0;
}

int WKFileMonitor1::wildcmp(const char* pattern, const char* name) {
  return wkagent::MatchesWildcard(pattern, name) ? 1 : 0;
}

int WKFileMonitor1::NotificationRequired(char* name) {
  for (const std::string& pattern : patterns) {
    if (wildcmp(pattern.c_str(), name) == 1) return 1;
  }
  return 0;
}

int WKFileMonitor1::StartMonitoring() {
  if (Callback() == nullptr) return EINVAL;
  if (state_->running) return EBUSY;
  pthread_attr_init(&threadAttributes);
  const int result = pthread_create(&thread, &threadAttributes, File_Monitoring_Thread, this);
  state_->running = result == 0;
  if (result != 0) pthread_attr_destroy(&threadAttributes);
  return result;
}

unsigned int WKFileMonitor1::TerminateThread() { return Load(terminate); }

void* WKFileMonitor1::File_Monitoring_Thread(void* object) {
  auto* const monitor = static_cast<WKFileMonitor1*>(object);
  pthread_setname_np(pthread_self(), "wk-monitor");
  while (monitor->WaitForTurn()) monitor->ReportEvents();
  return nullptr;
}

// Waits until the time-out has passed. False when the thread is to end, at once.
bool WKFileMonitor1::WaitForTurn() {
  for (std::uint32_t waited = 0; waited < Load(timeout) && TerminateThread() == 0; waited += 2) {
    wkagent::MutexLock lock(state_->mutex);
    state_->stopped.wait_for(lock.Native(), kStep, [this] { return TerminateThread() != 0; });
  }
  if (Load(timeout) == 0) {
    // Without a time-out the next event is waited for instead of polled for without pause.
    pollfd events = {FdToRead(), POLLIN, 0};
    poll(&events, 1, kPollMilliseconds);
  }
  return TerminateThread() == 0;
}

void WKFileMonitor1::ReportEvents() {
  wkagent::InotifyEvents events;
  {
    const wkagent::MutexLock lock(processMutex);
    if (events.Read(gfd) <= 0) return;
  }
  events.ForEachName([this](char* name) {
    if (NotificationRequired(name) == 0) return;
    // Looked up each time: another monitor may have unregistered it.
    if (auto* const callback = Callback(); callback != nullptr) callback(name);
  });
}
