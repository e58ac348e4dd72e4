#ifndef WKAGENT_AGENT_PIPELINE_H
#define WKAGENT_AGENT_PIPELINE_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "agent/audit_stream.h"
#include "agent/exit_status.h"
#include "agent/feed.h"
#include "agent/feed_position.h"
#include "agent/log_position.h"
#include "agent/log_tracker.h"
#include "agent/operator_record.h"
#include "agent/position_tracker.h"
#include "agent/settings.h"
#include "agent/spool_replay.h"
#include "agent/syslog_forwarder.h"

namespace wkagent {

// What the agent has done so far.
struct Totals {
  std::int64_t read = 0;  // events, kept or dropped
  std::int64_t malformed = 0;
  std::int64_t kept = 0;
  std::int64_t dropped = 0;
  std::int64_t archived = 0;
  std::int64_t alerts = 0;
};

// The one line in which the totals are printed.
[[nodiscard]] std::string Describe(const Totals& totals);

// The way of an event through the agent, in one stream for directory events and one for logins. It
// also keeps the position in the feed, which never runs ahead of the records on disk. It works in
// the home's bin folder and belongs to one thread at a time.
class Pipeline : public FeedSink {
 public:
  // `home` and `feedName` are for messages.
  Pipeline(std::string home, std::string feedName);

  // Reads the filters, opens the live files and saves the position; kDone when all succeeded.
  [[nodiscard]] ExitStatus Start();

  void OnEvent(tagWKEventData& event) override;
  void OnMalformed(long line, std::string_view reason) override;
  void OnPlace(const FeedPlace& place, std::int64_t items) override;
  void OnEntryBegun(std::string_view id) override;
  void OnEntryRead(std::string_view csn, std::string_view id) override;
  void OnProblem(std::string_view what) override;

  // Hands new settings on to whoever sends the spooled alerts.
  void SendAlertsBy(SpoolReplay& replay) { replay_ = &replay; }

  // Forwards the kept events as well, from now on.
  void ForwardTo(SyslogForwarder& syslog) { syslog_ = &syslog; }

  // Takes new settings over.
  void Apply(const Settings& settings);

  // Reads the filter of this file name again, or all where it is empty; where that fails, the one
  // in force stays.
  void Reload(std::string_view name = {});

  // Keeps the position of this log in "../tmp/accesslog.position" from now on, beginning at
  // `position` and with these entries beyond it.
  void KeepPosition(std::string log, LogPosition position, RecordedEntries recorded = {});

  // The same for the file of a feed, in this file.
  void KeepPlace(const char* positionFile, std::string feed, const FeedPosition& start);

  // The feed has ended, so Finish removes the position.
  void ForgetPosition() { forgets_ = true; }

  // Nothing is being read: makes the written records visible, puts them and the position on the
  // disk, and from time to time tries again to archive what could not be.
  void Idle();

  // True when an audit file could not be written. The events that follow are not taken.
  [[nodiscard]] bool Failed() const { return directory_.Failed() || logins_.Failed(); }

  // Completes the audit files; kDone, or kOutputFailed when a record may not be on disk.
  [[nodiscard]] ExitStatus Finish();

  [[nodiscard]] Totals GetTotals();

  // The totals, what has been forwarded, and what of it an earlier process may have forwarded, a
  // line each.
  [[nodiscard]] std::string Summary();

 private:
  void Forward(tagWKEventData& event, bool login);
  void StartTracking(const char* positionFile);
  void Checkpoint();
  void SavePosition();
  void SettlePosition();
  [[nodiscard]] bool EndPosition();

  const std::string home_;
  const std::string feedName_;
  OperatorRecord record_;
  AuditStream<DirectoryEvents> directory_;
  AuditStream<LoginEvents> logins_;
  Totals totals_;
  SyslogForwarder* syslog_ = nullptr;
  std::int64_t forwardedAgain_ = 0;  // lines of events that an earlier process had recorded
  SpoolReplay* replay_ = nullptr;
  std::chrono::steady_clock::time_point lastRetry_;
  std::chrono::seconds retryInterval_;
  std::unique_ptr<PositionTracker> tracker_;  // null where no position is kept
  const char* positionFile_ = nullptr;
  std::string savedPosition_;
  FileMark knownFile_;           // by which that position knows it
  bool positionFailed_ = false;  // which is reported once
  bool forgets_ = false;
};

inline constexpr char kPositionFile[] = "../tmp/accesslog.position";
inline constexpr char kFollowedPositionFile[] = "../tmp/followed.position";
inline constexpr char kReadPositionFile[] = "../tmp/read.position";  // of a feed that is read once
inline constexpr char kPositionEnd[] = "end\n";                      // of the text of a position

}  // namespace wkagent

#endif  // WKAGENT_AGENT_PIPELINE_H
