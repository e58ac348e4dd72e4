#include "agent/spool_replay.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <utility>
#include <vector>

#include <pthread.h>
#include <sys/stat.h>

#include "agent/home_path.h"
#include "agent/report.h"

namespace wkagent {
namespace {

constexpr char kFolder[] = "../tmp/";
constexpr std::chrono::seconds kLongestDelay(600);
constexpr std::size_t kLongestReported = 1000;  // names, so that they cannot fill the memory

// Deserialize of a sender of its own, rather than the static entries: these use the object that was
// constructed last in the process, which may be one of the worker's.
template <typename Sender>
void ReplayThrough(const std::string& path) {
  Sender sender;
  sender.InitializeLogMessage(ReportLibraryMessage);
  if constexpr (requires { sender.LoadSettings(); }) sender.LoadSettings();
  if constexpr (requires { sender.SetSafeReplay(true); }) sender.SetSafeReplay(true);
  std::string copy = path;
  sender.Deserialize(copy.data());
}

struct Kind {
  std::string_view prefix;
  void (*replay)(const std::string& path);
};

constexpr std::array<Kind, 3> kKinds = {{
    {"SMTP.", ReplayThrough<WKSMTPAlert>},
    {"SNMP.", ReplayThrough<WKSNMPAlert>},
    {"SysLog.", ReplayThrough<WKSysLog>},
}};

const Kind* KindOf(const std::string& name) {
  const auto* const kind = std::find_if(kKinds.begin(), kKinds.end(), [&](const Kind& candidate) {
    return name.starts_with(candidate.prefix);
  });
  return kind == kKinds.end() ? nullptr : kind;
}

std::vector<std::string> NamesInFolder() {
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(kFolder, error), end; !error && entry != end;
       entry.increment(error)) {
    names.push_back(entry->path().filename().string());
  }
  std::sort(names.begin(), names.end());  // the oldest first, of each kind
  return names;
}

// A file is appended to within one second. One from the future, of a clock that was set back, is
// not waited for.
bool IsFinished(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  const std::time_t now = std::time(nullptr);
  return status.st_mtime < now || status.st_mtime > now + 1;
}

}  // namespace

bool IsSpoolName(const std::string& name) {
  constexpr std::size_t kDigits = 14;
  const Kind* const kind = KindOf(name);
  if (kind == nullptr) return false;
  const std::string rest = name.substr(kind->prefix.size());
  return rest.size() == kDigits + 4 && rest.ends_with(".txt") &&
         rest.find_first_not_of("0123456789") == kDigits;
}

void ReplaySpoolFile(const std::string& name) { KindOf(name)->replay(kFolder + name); }

SpoolReplay::SpoolReplay(std::string home, std::chrono::seconds interval)
    : home_(std::move(home)), interval_(interval), thread_([this] { Run(); }) {}

SpoolReplay::~SpoolReplay() {
  {
    const MutexLock lock(mutex_);
    stopped_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void SpoolReplay::SetInterval(std::chrono::seconds interval) {
  const MutexLock lock(mutex_);
  interval_ = interval;
}

void SpoolReplay::Run() {
  pthread_setname_np(pthread_self(), "wk-alerts");
  do {
    Pass();
  } while (WaitForTurn());
}

// False when the thread is to end.
bool SpoolReplay::WaitForTurn() {
  MutexLock lock(mutex_);
  changed_.wait_for(lock.Native(), interval_, [this] {
    mutex_.AssertHeld();
    return stopped_;
  });
  return !stopped_;
}

void SpoolReplay::Pass() {
  for (const std::string& name : NamesInFolder()) {
    {
      const MutexLock lock(mutex_);
      if (stopped_) return;
    }
    if (IsSpoolName(name)) {
      Replay(name);
    } else if (KindOf(name) != nullptr && !name.ends_with(".txt.new") &&
               reported_.size() < kLongestReported && reported_.insert(name).second) {
      Report(InHome(home_, kFolder + name) + ": not the name of a spool file; left alone");
    }
  }
}

void SpoolReplay::Replay(const std::string& name) {
  const std::string path = kFolder + name;
  if (MustWait(name) || !IsFinished(path)) return;
  ReplaySpoolFile(name);
  NoteResult(name);
}

bool SpoolReplay::MustWait(const std::string& name) const {
  const auto failure = failures_.find(name);
  return failure != failures_.end() && Clock::now() < failure->second.next;
}

void SpoolReplay::NoteResult(const std::string& name) {
  struct stat status {};
  if (lstat((kFolder + name).c_str(), &status) != 0) {
    failures_.erase(name);
    return;
  }
  std::chrono::seconds delay(1);
  if (const auto failure = failures_.find(name); failure != failures_.end()) {
    delay = std::min(failure->second.delay * 2, kLongestDelay);
  } else {
    Report(InHome(home_, kFolder + name) + ": not all of it could be sent; it is tried again");
  }
  failures_[name] = {Clock::now() + delay, delay};
}

}  // namespace wkagent
