#ifndef WKAGENT_AGENT_AUDIT_STREAM_H
#define WKAGENT_AGENT_AUDIT_STREAM_H

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include <wkagent/filter.h>
#include <wkagent/output.h>

#include "agent/exit_status.h"

namespace wkagent {

// The two kinds of events: the filter file that decides them, the live file that takes them, and
// the elements of that file.

struct DirectoryEvents {
  using Filter = WKEDAFilter;
  using Output = WKEDAOutputFile;
  static constexpr char kFilterFile[] = "EDAFilter.xml";
  static constexpr char kLiveFile[] = "../tmp/EDALive.xml";
  static constexpr char kRoot[] = "EDAuditData";
  static constexpr char kGroup[] = "EDADataRecords";
  static constexpr bool kFilterRequired = true;
  static bool Passes(Filter& filter, tagWKEventData& event);
};

struct LoginEvents {
  using Filter = WKELAFilter;
  using Output = WKELAOutputFile;
  static constexpr char kFilterFile[] = "ELAFilter.xml";
  static constexpr char kLiveFile[] = "../tmp/ELALive.xml";
  static constexpr char kRoot[] = "ELAuditData";
  static constexpr char kGroup[] = "ELADataRecords";
  static constexpr bool kFilterRequired = false;  // without it no login is kept
  static bool Passes(Filter& filter, tagWKEventData& event);
};

// The way of one kind of events: the filter decides, a kept event goes into the live file, and full
// files into the outbox. It works in the home's bin folder and belongs to one thread.
template <typename Kind>
class AuditStream {
 public:
  explicit AuditStream(const std::string& home);  // `home` is for messages, and outlives this

  // Reads the filter and opens the live file; kDone when both succeeded.
  [[nodiscard]] ExitStatus Start();

  // True when the filter keeps the event.
  [[nodiscard]] bool Keeps(tagWKEventData& event) {
    return filter_.has_value() && Kind::Passes(*filter_, event);
  }

  // Writes the event if the filter keeps it, adds its alerts to `alerts`, and tells whether it was
  // kept. Not to be called once the stream has failed.
  [[nodiscard]] bool Take(tagWKEventData& event, std::int64_t& alerts);

  // Reads the filter file again if it bears this name, or whatever its name where that is empty.
  // Empty when that went well or there was nothing to do, else what is wrong: the filter read
  // before stays in force then.
  [[nodiscard]] std::string Reload(std::string_view name);

  void SetThreshold(int records);

  // Calls `action` each time before the live file, completed and on the disk, is archived.
  void BeforeArchive(std::function<void()> action) { beforeArchive_ = std::move(action); }

  // Makes the written records visible to others, and puts them on the disk.
  void Sync();

  // True while no document is open: what bears the live file's name next is another one.
  [[nodiscard]] bool IsClosed() const { return output_.writer == nullptr; }

  // Tries again to archive what could not be; the number of files that still wait.
  int RetryArchive();

  // True when the live file could not be written, whose records may not be on disk.
  [[nodiscard]] bool Failed() const { return failed_; }

  // Completes the live file; kDone, or kOutputFailed when a record may not be on disk.
  [[nodiscard]] ExitStatus Finish();

  [[nodiscard]] std::int64_t ArchivedCount();

 private:
  [[nodiscard]] ExitStatus Open();
  void Rotate();
  void CheckOutput();

  const std::string& home_;
  std::optional<typename Kind::Filter> filter_;  // none where there is no filter file
  typename Kind::Output output_;
  bool failed_ = false;
  bool synced_ = true;
  std::function<void()> beforeArchive_;
};

extern template class AuditStream<DirectoryEvents>;
extern template class AuditStream<LoginEvents>;

}  // namespace wkagent

#endif  // WKAGENT_AGENT_AUDIT_STREAM_H
