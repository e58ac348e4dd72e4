#include "agent/pipeline.h"

#include <cstring>

#include "agent/event_codes.h"
#include "agent/report.h"

namespace wkagent {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::seconds kRetryInterval(10);

char filterFile[] = "EDAFilter.xml";
char liveFile[] = "../tmp/EDALive.xml";

char* NullIfEmpty(char* text) { return text[0] == '\0' ? nullptr : text; }

}  // namespace

std::string Describe(const Totals& totals) {
  return "wkagentd: totals: read " + std::to_string(totals.read) + ", malformed " +
         std::to_string(totals.malformed) + ", kept " + std::to_string(totals.kept) + ", dropped " +
         std::to_string(totals.dropped) + ", files archived " + std::to_string(totals.archived) +
         ", alerts gathered " + std::to_string(totals.alerts);
}

Pipeline::Pipeline(std::string home, std::string feedName)
    : home_(std::move(home)),
      feedName_(std::move(feedName)),
      output_(liveFile, "EDAuditData", "EDADataRecords"),
      lastRetry_(steady_clock::now()) {}

ExitStatus Pipeline::Start() {
  filter_.emplace(filterFile);
  filter_->InitializeLogMessage(ReportLibraryMessage);
  if (filter_->GetReadError() != nullptr) {
    Report(InHome(filter_->GetReadError()));
    return kBadConfiguration;
  }
  if (filter_->statements.GetCount() == 0) {
    Report(InHome(filter_->filterPath) + ": it has no Filter element, so every event is dropped");
  }
  output_.InitializeLogMessage(ReportLibraryMessage);
  output_.SetSafeArchive(true);
  if (output_.OpenFile() == 0) return kDone;
  Report(InHome(liveFile) + ": cannot be written");
  return kOutputFailed;
}

void Pipeline::OnEvent(tagWKEventData& event) {
  if (failed_) return;
  if (Keep(event)) {
    totals_.alerts += filter_->alerts.GetCount();
    output_.WriteAuditData(&event);
    CheckOutput();
    if (failed_) return;
    flushed_ = false;
    ++totals_.kept;
  } else {
    ++totals_.dropped;
  }
  ++totals_.read;
}

bool Pipeline::Keep(tagWKEventData& event) {
  // There is no filter for logins yet, and directory filters say nothing about them.
  if (event.EventID == kLogin || event.EventID == kLogout) return false;
  return filter_->PassFilter(event.EventID, event.UserName, event.NodeAddress, event.Object1,
                             event.Class1, NullIfEmpty(event.Attribute1),
                             NullIfEmpty(event.AttributeValue));
}

void Pipeline::OnMalformed(long line, std::string_view reason) {
  ++totals_.malformed;
  Report(feedName_ + ":" + std::to_string(line) + ": " + std::string(reason) + "; skipped");
}

void Pipeline::Reload() {
  if (filter_->ReadFilter() == 0) {
    Report(InHome(filter_->filterPath) + ": read again, " +
           std::to_string(filter_->statements.GetCount()) + " statements");
  } else {
    Report(InHome(filter_->GetReadError()) + "; the filters read before stay in force");
  }
}

void Pipeline::Idle() {
  if (!flushed_) {
    output_.FlushFile();
    flushed_ = true;
    CheckOutput();
  }
  if (steady_clock::now() - lastRetry_ < kRetryInterval) return;
  output_.RetryArchive();
  lastRetry_ = steady_clock::now();
}

// The results of the single writes do not tell: look whether the file still takes what it is given.
void Pipeline::CheckOutput() {
  const int error = output_.GetWriteError();
  if (failed_ || (output_.writer != nullptr && error == 0)) return;
  failed_ = true;
  Report(InHome(liveFile) + ": cannot be written" +
         (error == 0 ? "" : std::string(": ") + std::strerror(error)) +
         "; the feed can be read again");
}

ExitStatus Pipeline::Finish() {
  output_.FlushFile();
  CheckOutput();
  output_.CloseFile();
  if (failed_) return kOutputFailed;
  if (output_.GetWriteError() != 0) {
    Report(InHome(liveFile) + ": cannot be completed: " + std::strerror(output_.GetWriteError()));
    return kOutputFailed;
  }
  if (const int left = output_.RetryArchive(); left > 0) {
    Report(std::to_string(left) + " files wait in " + home_ + "/tmp to be archived");
  }
  return kDone;
}

Totals Pipeline::GetTotals() {
  totals_.archived = output_.GetArchivedCount();
  return totals_;
}

std::string Pipeline::InHome(std::string_view path) const {
  constexpr std::string_view kParent = "../";
  if (!path.starts_with(kParent)) return std::string(path);
  return home_ + "/" + std::string(path.substr(kParent.size()));
}

}  // namespace wkagent
