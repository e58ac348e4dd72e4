#ifndef WKAGENT_AGENT_ACCESS_LOG_SOURCE_H
#define WKAGENT_AGENT_ACCESS_LOG_SOURCE_H

#include <chrono>
#include <memory>
#include <string>

#include <wkagent/config.h>

#include "agent/access_log_events.h"
#include "agent/directory_attempt.h"
#include "agent/feed.h"
#include "agent/ldap_handles.h"
#include "agent/log_position.h"
#include "agent/source.h"
#include "agent/sync_search.h"

namespace wkagent {

// The feed "accesslog": follows cn=accesslog of the directory server that a settings file names. A
// lost connection is made anew, with pauses that grow from one second to a minute, and reading goes
// on after the last entry that was handed over: none is lost and none comes twice.
class AccessLogSource : public Source {
 public:
  // `settingsPath` and `caFile` (empty: the system's certificates) are absolute.
  AccessLogSource(std::string settingsPath, std::string caFile);

  ~AccessLogSource() override;

  AccessLogSource(const AccessLogSource&) = delete;
  AccessLogSource& operator=(const AccessLogSource&) = delete;

  [[nodiscard]] ExitStatus Open() override;
  [[nodiscard]] std::string LogName() const override;
  void StartAt(const LogPosition& position) override;
  void Attach(FeedSink& sink) override;
  [[nodiscard]] int WaitFd() const override;
  [[nodiscard]] State Work(bool ready) override;
  [[nodiscard]] std::string SettingsPath() const override { return settingsPath_; }
  void ReloadSettings() override;

 private:
  using Clock = std::chrono::steady_clock;

  [[nodiscard]] std::string ReadSettings(tagLDAPConfig& config) const;
  [[nodiscard]] bool Connect();
  void StartAttempt();
  [[nodiscard]] bool BeginSearch(DirectoryAttempt::Outcome outcome);
  void TakeEntry(const AccessLogEntry& entry);
  void EndSearch();
  void Disconnect(const std::string& reason);

  const std::string settingsPath_;
  const std::string caFile_;
  tagLDAPConfig config_{};
  FeedSink* sink_ = nullptr;
  std::unique_ptr<AccessLogEvents> events_;
  LogPosition position_;
  std::unique_ptr<DirectoryAttempt> attempt_;
  LdapPtr ldap_;
  std::unique_ptr<SyncSearch> search_;
  Clock::time_point nextAttempt_;
  std::chrono::seconds pause_;
  bool fromStart_ = false;  // the server no longer knows the position
  bool warnedOfPlain_ = false;
  bool newEntries_ = false;  // since the search began
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_ACCESS_LOG_SOURCE_H
