#ifndef WKAGENT_AGENT_PIPELINE_H
#define WKAGENT_AGENT_PIPELINE_H

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "agent/audit_stream.h"
#include "agent/exit_status.h"
#include "agent/feed.h"
#include "agent/log_position.h"
#include "agent/operator_record.h"
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
// also keeps the position in an access log, which never runs ahead of the records on disk. It works
// in the home's bin folder and belongs to one thread at a time.
class Pipeline : public FeedSink {
 public:
  // `home` and `feedName` are for messages.
  Pipeline(std::string home, std::string feedName);

  // Reads the filters and opens the live files; kDone when all succeeded.
  [[nodiscard]] ExitStatus Start();

  void OnEvent(tagWKEventData& event) override;
  void OnMalformed(long line, std::string_view reason) override;
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
  // `position`.
  void KeepPosition(std::string log, LogPosition position);

  // Nothing is being read: makes the written records visible, and from time to time tries again to
  // archive what could not be.
  void Idle();

  // True when an audit file could not be written. The events that follow are not taken.
  [[nodiscard]] bool Failed() const { return directory_.Failed() || logins_.Failed(); }

  // Completes the audit files; kDone, or kOutputFailed when a record may not be on disk.
  [[nodiscard]] ExitStatus Finish();

  [[nodiscard]] Totals GetTotals();

  // The totals and what has been forwarded, a line each.
  [[nodiscard]] std::string Summary();

 private:
  void SavePosition();

  const std::string home_;
  const std::string feedName_;
  OperatorRecord record_;
  AuditStream<DirectoryEvents> directory_;
  AuditStream<LoginEvents> logins_;
  Totals totals_;
  SyslogForwarder* syslog_ = nullptr;
  SpoolReplay* replay_ = nullptr;
  std::chrono::steady_clock::time_point lastRetry_;
  std::chrono::seconds retryInterval_;
  std::string log_;  // whose position is kept; empty where none is
  LogPosition position_;
  bool positionSaved_ = true;
  bool positionFailed_ = false;  // which is reported once
};

inline constexpr char kPositionFile[] = "../tmp/accesslog.position";

}  // namespace wkagent

#endif  // WKAGENT_AGENT_PIPELINE_H
