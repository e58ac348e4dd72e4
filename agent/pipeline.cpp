#include "agent/pipeline.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <unistd.h>

#include "agent/event_codes.h"
#include "agent/home_path.h"
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
  record_.Started("wkagentd started, process " + std::to_string(getpid()) + ", feed " + feedName_);
  return kDone;
}

void Pipeline::OnEvent(tagWKEventData& event) {
  if (Failed()) return;
  const bool login = event.EventID == kLogin || event.EventID == kLogout;
  const bool kept =
      login ? logins_.Take(event, totals_.alerts) : directory_.Take(event, totals_.alerts);
  if (Failed()) return record_.Error("wkagentd: an audit file cannot be written");
  ++(kept ? totals_.kept : totals_.dropped);
  if (kept && syslog_ != nullptr) syslog_->Forward(event, login);
  ++totals_.read;
}

void Pipeline::OnMalformed(long line, std::string_view reason) {
  ++totals_.malformed;
  std::string text = feedName_;
  if (line > 0) text.append(1, ':').append(std::to_string(line));
  Report(text.append(": ").append(reason).append("; skipped"));
}

void Pipeline::OnEntryRead(std::string_view csn, std::string_view id) {
  // What failed to be written is read again after the next start.
  if (Failed()) return;
  position_.Add(csn, id);
  positionSaved_ = false;
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

void Pipeline::KeepPosition(std::string log, LogPosition position) {
  log_ = std::move(log);
  position_ = std::move(position);
}

void Pipeline::Idle() {
  directory_.Flush();
  logins_.Flush();
  if (Failed()) return;
  SavePosition();
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
  SavePosition();
  if (const int left = directory_.RetryArchive() + logins_.RetryArchive(); left > 0) {
    Report(std::to_string(left) + " files wait in " + home_ + "/tmp to be archived");
  }
  record_.Stopped("wkagentd stopped, process " + std::to_string(getpid()) + ", " +
                  std::to_string(totals_.kept) + " of " + std::to_string(totals_.read) +
                  " events kept");
  return kDone;
}

// Only after the records are on their way to the disk: a position that runs ahead would lose some.
void Pipeline::SavePosition() {
  if (log_.empty() || positionSaved_) return;
  positionSaved_ = ReplaceFile(kPositionFile, position_.ToText(log_));
  if (std::exchange(positionFailed_, !positionSaved_) || positionSaved_) return;
  OnProblem(InHome(home_, kPositionFile) + ": " + std::strerror(errno) +
            "; after a restart some events would be written again");
}

Totals Pipeline::GetTotals() {
  totals_.archived = directory_.ArchivedCount() + logins_.ArchivedCount();
  return totals_;
}

std::string Pipeline::Summary() {
  const std::string totals = Describe(GetTotals());
  return syslog_ == nullptr ? totals : totals + '\n' + syslog_->Describe();
}

}  // namespace wkagent
