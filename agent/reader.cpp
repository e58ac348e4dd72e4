#include "agent/reader.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include <unistd.h>

#include "agent/audit_stream.h"
#include "agent/home_path.h"
#include "agent/report.h"

namespace wkagent {
namespace {

constexpr std::chrono::milliseconds kProgressInterval(500);
constexpr std::chrono::milliseconds kLongestBusyTime(500);  // a second is promised
constexpr int kLongestWait = 250;  // milliseconds: changed files and the clock are looked at

bool IsFilterFile(const std::string& name) {
  return name == DirectoryEvents::kFilterFile || name == LoginEvents::kFilterFile;
}

}  // namespace

Reader::Reader(std::string home, const Settings& settings, Source& source, Signals& signals,
               QueueSink& queue, const Worker& worker, ConfigWatch& watch)
    : home_(std::move(home)),
      settings_(settings),
      source_(source),
      sourceSettings_(ConfigWatch::NameInHome(source.SettingsPath())),
      signals_(signals),
      queue_(queue),
      worker_(worker),
      watch_(watch),
      day_(std::time(nullptr)),
      watched_(isatty(STDERR_FILENO) != 0),
      lastProgress_(Clock::now()),
      lastBusy_(Clock::now()),
      lastQuiet_(Clock::now()) {}

ExitStatus Reader::Run() {
  bool busy = true;
  while (!worker_.Failed()) {
    const int waitFd = source_.WaitFd();
    const int quiet = told_ ? kLongestWait : settings_.quietMilliseconds;
    const int wait = std::min({settings_.lookMilliseconds, quiet, kLongestWait});
    const bool ready = signals_.Poll(waitFd, busy ? 0 : wait);
    ObeySignals();
    if (signals_.StopWanted()) return kDone;
    TakeChangedFiles();
    const Source::State state = source_.Work(ready);
    reachedEnd_ = state == Source::State::kEnd;
    if (reachedEnd_) return kDone;
    if (state == Source::State::kFailed) return kInputMissing;
    busy = state == Source::State::kBusy;
    if (busy) ShowProgress();
    TellWhenQuiet(busy);
    queue_.Flush();
  }
  return kOutputFailed;
}

void Reader::ObeySignals() {
  if (signals_.TakeReload()) {
    ReloadSettings();
    source_.ReloadSettings();
    queue_.Push(QueueItem::Kind::kReload);
  }
  if (signals_.TakeTotals()) queue_.Push(QueueItem::Kind::kShowTotals);
}

void Reader::TakeChangedFiles() {
  bool settings = false;
  for (const std::string& name : watch_.TakeChanges()) {
    if (IsFilterFile(name)) {
      queue_.Push(QueueItem::Kind::kReload, name);
    } else if (name == sourceSettings_) {
      source_.ReloadSettings();
    } else {
      settings = true;
    }
  }
  if (settings) ReloadSettings();
  // The time windows of filters are those of the day on which they were read.
  if (day_.HasChanged(std::time(nullptr))) queue_.Push(QueueItem::Kind::kReload);
}

void Reader::ReloadSettings() {
  const std::string error = ReadSettings(settings_);
  if (!error.empty()) {
    return queue_.OnProblem(InHome(home_, error) + "; the settings read before stay in force");
  }
  Report(home_ + "/config: settings read again");
  queue_.Push(settings_);
}

void Reader::ShowProgress() {
  const auto now = Clock::now();
  if (!watched_ || now - lastProgress_ < kProgressInterval) return;
  lastProgress_ = now;
  queue_.Push(QueueItem::Kind::kShowProgress);
}

// Tells the worker when nothing has come for a while, and from time to time when something always
// comes, so that records become visible and reach the disk, and archiving is tried again.
void Reader::TellWhenQuiet(bool busy) {
  const auto now = Clock::now();
  if (busy) {
    lastBusy_ = now;
    told_ = false;
  }
  const bool quiet = now - lastBusy_ >= std::chrono::milliseconds(settings_.quietMilliseconds);
  if ((!quiet || told_) && now - lastQuiet_ < kLongestBusyTime) return;
  told_ = quiet;
  lastQuiet_ = now;
  queue_.Push(QueueItem::Kind::kIdle);
}

}  // namespace wkagent
