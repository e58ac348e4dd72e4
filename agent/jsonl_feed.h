#ifndef WKAGENT_AGENT_JSONL_FEED_H
#define WKAGENT_AGENT_JSONL_FEED_H

#include <simdjson.h>
#include <string_view>

#include "agent/feed.h"
#include "agent/line_splitter.h"

namespace wkagent {

// The feed "jsonl": one JSON object a line (RFC 8259), its keys the names of the fields of
// tagWKEventData, and `Condition` for logins. `EventID` is required; a missing `EventTime` is now,
// any other missing field or null is empty. Unknown keys and blank lines are ignored.
class JsonlFeed : public Feed {
 public:
  explicit JsonlFeed(FeedSink& sink);

  void StartAt(std::int64_t offset, long line) override { splitter_.StartAt(offset, line); }
  void Take(std::string_view block) override;
  void Finish() override;

 private:
  void TakeLine(std::string_view line);

  // Null, or what is wrong with the line.
  [[nodiscard]] const char* ReadEvent(std::string_view line);

  FeedSink& sink_;
  LineSplitter splitter_;
  simdjson::dom::parser parser_;
  tagWKEventData event_{};
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_JSONL_FEED_H
