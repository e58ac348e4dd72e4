#include "agent/kind_replay.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <exception>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "agent/home_path.h"
#include "agent/report.h"
#include "core/folder_names.h"
#include "core/own_file.h"

namespace wkagent {
namespace {

constexpr char kFolder[] = "../tmp/";
constexpr std::chrono::seconds kLongestDelay(600);
constexpr std::size_t kLongestReported = 1000;  // names, so that they cannot fill the memory
constexpr int kMostFailures = 5;                // one after the other: the server is away

// The names that begin with the prefix, the oldest first.
std::vector<std::string> NamesInFolder(std::string_view prefix) {
  std::vector<std::string> names;
  (void)ListFolder(kFolder, names);  // what cannot be listed now is sent later
  std::erase_if(names, [&](const std::string& name) { return !name.starts_with(prefix); });
  return names;
}

// A file is appended to within one second. One from the future, of a clock that was set back, is
// not waited for.
bool IsFinished(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0 || !IsOwnFile(status)) return false;
  const std::time_t now = std::time(nullptr);
  return status.st_mtime < now || status.st_mtime > now + 1;
}

}  // namespace

bool IsSpoolName(const AlertKind& kind, std::string_view name) {
  constexpr std::size_t kDigits = 14;
  if (!name.starts_with(kind.prefix)) return false;
  name.remove_prefix(kind.prefix.size());
  return name.size() == kDigits + 4 && name.ends_with(".txt") &&
         name.find_first_not_of("0123456789") == kDigits;
}

KindReplay::KindReplay(const AlertKind& kind, std::string home, std::chrono::seconds interval)
    : kind_(kind),
      home_(std::move(home)),
      interval_(interval),
      thread_(kind.thread, [this] { Run(); }) {}

KindReplay::~KindReplay() { Stop(); }

void KindReplay::Stop() {
  {
    const MutexLock lock(mutex_);
    stop_ = true;
  }
  changed_.notify_all();
}

void KindReplay::SetInterval(std::chrono::seconds interval) {
  const MutexLock lock(mutex_);
  interval_ = interval;
}

void KindReplay::Run() {
  do {
    try {
      Pass();
    } catch (const std::exception& error) {
      Report(error.what());  // out of memory; the files wait for the next pass
    }
  } while (WaitForTurn());
}

// False when the thread is to end.
bool KindReplay::WaitForTurn() {
  MutexLock lock(mutex_);
  changed_.wait_for(lock.Native(), interval_, [this] { return stop_.load(); });
  return !stop_;
}

void KindReplay::Pass() {
  if (!FolderTakesChanges()) return;
  int failures = 0;
  for (const std::string& name : NamesInFolder(kind_.prefix)) {
    if (stop_ || failures == kMostFailures) return;
    if (!IsSpoolName(kind_, name)) {
      if (!name.ends_with(".txt.new")) ReportStranger(name, "not the name of a spool file");
    } else if (!IsOwnFileOrNothing((kFolder + name).c_str())) {
      ReportStranger(name, "a link, or no file");
    } else if (!MustWait(name) && IsFinished(kFolder + name)) {
      failures = Sends(name) ? 0 : failures + 1;
    }
  }
}

// In a folder that cannot be changed, a file would be sent again and again.
bool KindReplay::FolderTakesChanges() {
  const bool takes = faccessat(AT_FDCWD, kFolder, W_OK, AT_EACCESS) == 0;
  if (!std::exchange(folderReported_, !takes) && !takes) {
    Report(InHome(home_, "../tmp") + ": " + std::strerror(errno) + "; " + kind_.alerts +
           " wait until it can be written");
  }
  return takes;
}

void KindReplay::ReportStranger(const std::string& name, const char* what) {
  if (reported_.size() >= kLongestReported || !reported_.insert(name).second) return;
  Report(InHome(home_, kFolder + name) + ": " + what + "; left alone");
}

bool KindReplay::MustWait(const std::string& name) const {
  const auto failure = failures_.find(name);
  return failure != failures_.end() && Clock::now() < failure->second.next;
}

// Replays a file; true when nothing of it is left.
bool KindReplay::Sends(const std::string& name) {
  const std::string path = kFolder + name;
  kind_.replay(path, stop_);
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) {
    failures_.erase(name);
    return true;
  }
  if (!stop_) NoteFailure(name);
  return false;
}

void KindReplay::NoteFailure(const std::string& name) {
  std::chrono::seconds delay(1);
  if (const auto failure = failures_.find(name); failure != failures_.end()) {
    delay = std::min(failure->second.delay * 2, kLongestDelay);
  } else {
    Report(InHome(home_, kFolder + name) + ": not all of it could be sent; it is tried again");
  }
  failures_[name] = {Clock::now() + delay, delay};
}

}  // namespace wkagent
