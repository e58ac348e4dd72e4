#ifndef WKAGENT_AGENT_AUDITLOG_FEED_H
#define WKAGENT_AGENT_AUDITLOG_FEED_H

#include <string>
#include <string_view>
#include <vector>

#include "agent/feed.h"
#include "agent/ldif_reader.h"

namespace wkagent {

// The feed "auditlog": the change log of OpenLDAP's auditlog overlay. An added or deleted entry, a
// rename and a move are one event each, and so is every attribute value that is added (also with a
// new entry), replaced or deleted. Operational attributes raise none.
class AuditlogFeed : public Feed, private LdifHandler {
 public:
  // `serverName` is written into every event.
  AuditlogFeed(FeedSink& sink, std::string_view serverName);

  void Take(std::string_view block) override;
  void Finish() override;

 private:
  struct Change {
    unsigned short code;
    std::string_view attribute;
    std::string_view value;
  };

  void OnRecord(const LdifRecord& record) override;
  void OnMalformed(long line, std::string_view reason) override;

  // Each fills `changes_`; false when the record was reported as malformed.
  [[nodiscard]] bool ReadAdd(const LdifRecord& record, std::size_t first);
  [[nodiscard]] bool ReadModify(const LdifRecord& record, std::size_t first);
  [[nodiscard]] bool ReadRename(const LdifRecord& record, std::size_t first);
  [[nodiscard]] bool Fail(const LdifLine& line, std::string_view reason);

  void AddChange(std::string_view attribute, std::string_view value, bool removed);
  void FillOrigin(const LdifRecord& record);
  void Emit(const Change& change);

  FeedSink& sink_;
  LdifReader reader_;
  tagWKEventData event_{};
  std::vector<Change> changes_;
  std::string newName_;  // of a renamed entry
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_AUDITLOG_FEED_H
