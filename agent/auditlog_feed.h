#ifndef WKAGENT_AGENT_AUDITLOG_FEED_H
#define WKAGENT_AGENT_AUDITLOG_FEED_H

#include <string>
#include <string_view>

#include "agent/change_events.h"
#include "agent/feed.h"
#include "agent/ldif_reader.h"

namespace wkagent {

// The feed "auditlog": the change log of OpenLDAP's auditlog overlay.
class AuditlogFeed : public Feed, private LdifHandler {
 public:
  // `serverName` is written into every event.
  AuditlogFeed(FeedSink& sink, std::string_view serverName);

  void StartAt(std::int64_t offset, long line) override { reader_.StartAt(offset, line); }
  void Take(std::string_view block) override;
  void Finish() override;

 private:
  void OnRecord(const LdifRecord& record) override;
  void OnMalformed(long line, std::string_view reason) override;
  void OnBoundary(std::int64_t offset, long line) override;

  // Each collects the changes; false when the record was reported as malformed.
  [[nodiscard]] bool ReadAdd(const LdifRecord& record, std::size_t first);
  [[nodiscard]] bool ReadModify(const LdifRecord& record, std::size_t first);
  [[nodiscard]] bool ReadRename(const LdifRecord& record, std::size_t first);
  [[nodiscard]] bool Fail(const LdifLine& line, std::string_view reason);

  void Emit(const LdifRecord& record);

  FeedSink& sink_;
  LdifReader reader_;
  ChangeEvents changes_;
  std::string suffix_;  // the last one, and its dotted form
  std::string tree_;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_AUDITLOG_FEED_H
