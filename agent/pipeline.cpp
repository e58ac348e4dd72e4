#include "agent/pipeline.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <unistd.h>

#include "agent/event_codes.h"
#include "agent/file_tracker.h"
#include "agent/home_path.h"
#include "agent/live_marks.h"
#include "agent/report.h"
#include "agent/whole_file.h"

namespace wkagent {

using std::chrono::steady_clock;

std::string Describe(const Totals& totals) {
  return "wkagentd: totals: read " + std::to_string(totals.read) + ", malformed " +
         std::to_string(totals.malformed) + ", kept " + std::to_string(totals.kept) + ", dropped " +
         std::to_string(totals.dropped) + ", files archived " + std::to_string(totals.archived) +
         ", alerts gathered " + std::to_string(totals.alerts);
}

Pipeline::Pipeline(std::string home, std::string feedName)
    : home_(std::move(home)),
      feedName_(std::move(feedName)),
      directory_(home_),
      logins_(home_),
      lastRetry_(steady_clock::now()),
      retryInterval_(Settings().pollSeconds) {}

ExitStatus Pipeline::Start() {
  if (const ExitStatus status = directory_.Start(); status != kDone) return status;
  if (const ExitStatus status = logins_.Start(); status != kDone) return status;
  SavePosition();  // with the new live files, before there is anything in them
  record_.Started("wkagentd started, process " + std::to_string(getpid()) + ", feed " + feedName_);
  return kDone;
}

void Pipeline::OnEvent(tagWKEventData& event) {
  if (Failed()) return;
  const bool login = event.EventID == kLogin || event.EventID == kLogout;
  if (tracker_ != nullptr && tracker_->NextIsRecorded()) return Forward(event, login);
  const bool kept =
      login ? logins_.Take(event, totals_.alerts) : directory_.Take(event, totals_.alerts);
  if (Failed()) return record_.Error("wkagentd: an audit file cannot be written");
  ++(kept ? totals_.kept : totals_.dropped);
  if (kept && syslog_ != nullptr) syslog_->Forward(event, login);
  ++totals_.read;
  if (tracker_ != nullptr) tracker_->Count();
}

// An event that an earlier process has recorded, whose line may have been lost with it.
void Pipeline::Forward(tagWKEventData& event, bool login) {
  const bool keeps = login ? logins_.Keeps(event) : directory_.Keeps(event);
  if (keeps && syslog_ != nullptr) {
    syslog_->Forward(event, login);
    ++forwardedAgain_;
  }
  tracker_->Count();
}

void Pipeline::OnMalformed(long line, std::string_view reason) {
  const bool reported = tracker_ != nullptr && tracker_->NextIsRecorded();
  if (tracker_ != nullptr) tracker_->Count();
  if (reported) return;
  ++totals_.malformed;
  std::string text = feedName_;
  if (line > 0) text.append(1, ':').append(std::to_string(line));
  Report(text.append(": ").append(reason).append("; skipped"));
}

// Once an event could not be written, the place stays where it is: the event is read again after
// the next start.
void Pipeline::OnPlace(const FeedPlace& place, std::int64_t items) {
  if (tracker_ == nullptr || Failed()) return;
  tracker_->OnPlace(place, items);
  // By what is on the disk, the file must be known from any other before its events are recorded.
  if (std::exchange(knownFile_, place.file) != place.file) Checkpoint();
}

void Pipeline::OnEntryBegun(std::string_view id) {
  if (tracker_ != nullptr && !Failed()) tracker_->OnEntryBegun(id);
}

void Pipeline::OnEntryRead(std::string_view csn, std::string_view id) {
  if (tracker_ != nullptr && !Failed()) tracker_->OnEntryRead(csn, id);
}

void Pipeline::OnProblem(std::string_view what) {
  Report(what);
  record_.Error(what);
}

void Pipeline::Apply(const Settings& settings) {
  directory_.SetThreshold(settings.archiveThreshold);
  logins_.SetThreshold(settings.archiveThreshold);
  retryInterval_ = std::chrono::seconds(settings.pollSeconds);
  if (replay_ != nullptr) replay_->SetInterval(retryInterval_);
}

void Pipeline::Reload(std::string_view name) {
  for (const std::string& problem : {directory_.Reload(name), logins_.Reload(name)}) {
    if (!problem.empty()) OnProblem(problem);
  }
}

void Pipeline::KeepPosition(std::string log, LogPosition position, RecordedEntries recorded) {
  tracker_ = std::make_unique<LogTracker>(std::move(log), std::move(position), std::move(recorded));
  StartTracking(kPositionFile);
}

void Pipeline::KeepPlace(const char* positionFile, std::string feed, const FeedPosition& start) {
  tracker_ = std::make_unique<FileTracker>(std::move(feed), start);
  StartTracking(positionFile);
}

void Pipeline::StartTracking(const char* positionFile) {
  positionFile_ = positionFile;
  directory_.BeforeArchive([this] { Checkpoint(); });
  logins_.BeforeArchive([this] { Checkpoint(); });
}

void Pipeline::Idle() {
  Checkpoint();
  if (Failed()) return;
  if (steady_clock::now() - lastRetry_ < retryInterval_) return;
  directory_.RetryArchive();
  logins_.RetryArchive();
  lastRetry_ = steady_clock::now();
}

ExitStatus Pipeline::Finish() {
  if (syslog_ != nullptr) syslog_->Finish();
  const ExitStatus directory = directory_.Finish();
  const ExitStatus logins = logins_.Finish();
  if (directory != kDone || logins != kDone) {
    record_.Error("wkagentd stopped: an audit file cannot be written");
    return kOutputFailed;
  }
  if (!EndPosition()) SavePosition();
  if (const int left = directory_.RetryArchive() + logins_.RetryArchive(); left > 0) {
    Report(std::to_string(left) + " files wait in " + home_ + "/tmp to be archived");
  }
  record_.Stopped("wkagentd stopped, process " + std::to_string(getpid()) + ", " +
                  std::to_string(totals_.kept) + " of " + std::to_string(totals_.read) +
                  " events kept");
  return kDone;
}

// Puts the records on the disk, and then the position that covers them.
void Pipeline::Checkpoint() {
  directory_.Sync();
  logins_.Sync();
  if (!Failed()) SavePosition();
}

// Only after the records are on the disk: a position that runs ahead would lose some.
void Pipeline::SavePosition() {
  if (tracker_ == nullptr) return;
  SettlePosition();
  LiveMarks marks;
  marks.Add(DirectoryEvents::kLiveFile, directory_.IsClosed());
  marks.Add(LoginEvents::kLiveFile, logins_.IsClosed());
  const std::string text = tracker_->ToText() + marks.ToText() + kPositionEnd;
  if (text == savedPosition_) return;
  const bool saved = ReplaceFile(positionFile_, text);
  if (saved) savedPosition_ = text;
  if (std::exchange(positionFailed_, !saved) || saved) return;
  OnProblem(InHome(home_, positionFile_) + ": " + std::strerror(errno) +
            "; after a restart some events would be written again");
}

// Removes the position where it has served. False where it is still needed.
bool Pipeline::EndPosition() {
  if (tracker_ == nullptr || !forgets_) return false;
  SettlePosition();
  return tracker_->IsSettled() && RemoveFile(positionFile_);
}

void Pipeline::SettlePosition() {
  const std::uint64_t taken = syslog_ == nullptr ? 0 : syslog_->Taken();
  tracker_->Settle(taken, syslog_ == nullptr ? 0 : syslog_->Settled());
}

Totals Pipeline::GetTotals() {
  totals_.archived = directory_.ArchivedCount() + logins_.ArchivedCount();
  return totals_;
}

std::string Pipeline::Summary() {
  std::string lines = Describe(GetTotals());
  if (syslog_ != nullptr) lines.append(1, '\n').append(syslog_->Describe());
  if (forwardedAgain_ > 0) {
    lines.append("\nwkagentd: again: forwarded ").append(std::to_string(forwardedAgain_));
    lines.append(" events that were recorded before the start");
  }
  return lines;
}

}  // namespace wkagent
