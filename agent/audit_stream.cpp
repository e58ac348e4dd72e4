#include "agent/audit_stream.h"

#include <cstring>

#include <sys/stat.h>

#include "agent/alert_text.h"
#include "agent/event_condition.h"
#include "agent/home_path.h"
#include "agent/report.h"

namespace wkagent {
namespace {

constexpr int kLongestUnsynced = 500;  // milliseconds; within a second is promised

char* NullIfEmpty(char* text) { return text[0] == '\0' ? nullptr : text; }

bool ConfigFileExists(const char* name) {
  struct stat status {};
  return stat((std::string("../config/") + name).c_str(), &status) == 0;
}

}  // namespace

bool DirectoryEvents::Passes(Filter& filter, tagWKEventData& event) {
  return filter.PassFilter(event.EventID, event.UserName, event.NodeAddress, event.Object1,
                           event.Class1, NullIfEmpty(event.Attribute1),
                           NullIfEmpty(event.AttributeValue));
}

bool LoginEvents::Passes(Filter& filter, tagWKEventData& event) {
  return filter.PassFilter(event.EventID, GetCondition(event), event.UserName, event.NodeAddress);
}

template <typename Kind>
AuditStream<Kind>::AuditStream(const std::string& home)
    : home_(home), output_(const_cast<char*>(Kind::kLiveFile), Kind::kRoot, Kind::kGroup) {}

template <typename Kind>
ExitStatus AuditStream<Kind>::Start() {
  if (!Kind::kFilterRequired && !ConfigFileExists(Kind::kFilterFile)) return kDone;
  filter_.emplace(const_cast<char*>(Kind::kFilterFile));
  if (filter_->GetReadError() != nullptr) {
    Report(InHome(home_, filter_->GetReadError()));
    return kBadConfiguration;
  }
  return Open();
}

template <typename Kind>
ExitStatus AuditStream<Kind>::Open() {
  filter_->InitializeLogMessage(ReportLibraryMessage);
  if (filter_->statements.GetCount() == 0) {
    Report(InHome(home_, filter_->filterPath) +
           ": it has no Filter element, so every event is dropped");
  }
  output_.InitializeLogMessage(ReportLibraryMessage);
  output_.SetSafeArchive(true);
  output_.SetDurability(0, kLongestUnsynced);
  if (output_.OpenFile() == 0) return kDone;
  Report(InHome(home_, Kind::kLiveFile) + ": cannot be written");
  return kOutputFailed;
}

template <typename Kind>
bool AuditStream<Kind>::Take(tagWKEventData& event, std::int64_t& alerts) {
  if (!Keeps(event)) return false;
  if (output_.recordCount > 0 && output_.recordCount == output_.thresholdLimit) Rotate();
  if (failed_) return false;
  if (const int gathered = filter_->alerts.GetCount(); gathered > 0) {
    alerts += gathered;
    filter_->Serialize(AlertText(event).data());
  }
  output_.WriteAuditData(&event);
  CheckOutput();
  synced_ = false;
  return true;
}

template <typename Kind>
std::string AuditStream<Kind>::Reload(std::string_view name) {
  if (!name.empty() && name != Kind::kFilterFile) return {};
  const bool first = !filter_;
  if (first && !ConfigFileExists(Kind::kFilterFile)) return {};
  if (first) filter_.emplace(const_cast<char*>(Kind::kFilterFile));
  const bool read = first ? filter_->GetReadError() == nullptr : filter_->ReadFilter() == 0;
  if (!read) {
    std::string reason = InHome(home_, filter_->GetReadError());
    if (first) filter_.reset();
    return reason + (first ? "; there is no filter yet that could stay in force"
                           : "; the filters read before stay in force");
  }
  if (first && Open() != kDone) failed_ = true;
  Report(InHome(home_, filter_->filterPath) + ": read again, " +
         std::to_string(filter_->statements.GetCount()) + " statements");
  return {};
}

template <typename Kind>
void AuditStream<Kind>::SetThreshold(int records) {
  output_.SetThresholdLimit(records);
  // The file is rotated when its count equals the threshold, so a count above it never would be.
  if (output_.writer == nullptr || records <= 0 || output_.recordCount <= records) return;
  Rotate();
}

// The same as the library does by itself, with the archive announced in between.
template <typename Kind>
void AuditStream<Kind>::Rotate() {
  if (beforeArchive_) {
    output_.CloseFile();
    if (output_.GetWriteError() != 0) return CheckOutput();
    synced_ = true;
    beforeArchive_();
  }
  output_.ThresholdLimitReached();
  output_.recordCount = 0;
  CheckOutput();
}

template <typename Kind>
void AuditStream<Kind>::Sync() {
  if (synced_ || failed_) return;
  (void)output_.SyncFile();  // CheckOutput tells
  synced_ = true;
  CheckOutput();
}

template <typename Kind>
int AuditStream<Kind>::RetryArchive() {
  return filter_ ? output_.RetryArchive() : 0;
}

// The results of the single writes do not tell: look whether the file still takes what it is given.
template <typename Kind>
void AuditStream<Kind>::CheckOutput() {
  const int error = output_.GetWriteError();
  if (failed_ || (output_.writer != nullptr && error == 0)) return;
  failed_ = true;
  Report(InHome(home_, Kind::kLiveFile) + ": cannot be written" +
         (error == 0 ? "" : std::string(": ") + std::strerror(error)) +
         "; the feed can be read again");
}

template <typename Kind>
ExitStatus AuditStream<Kind>::Finish() {
  if (!filter_) return kDone;
  output_.FlushFile();
  CheckOutput();
  output_.CloseFile();
  if (failed_) return kOutputFailed;
  if (output_.GetWriteError() == 0) return kDone;
  Report(InHome(home_, Kind::kLiveFile) +
         ": cannot be completed: " + std::strerror(output_.GetWriteError()));
  failed_ = true;
  return kOutputFailed;
}

template <typename Kind>
std::int64_t AuditStream<Kind>::ArchivedCount() {
  return output_.GetArchivedCount();
}

template class AuditStream<DirectoryEvents>;
template class AuditStream<LoginEvents>;

}  // namespace wkagent
