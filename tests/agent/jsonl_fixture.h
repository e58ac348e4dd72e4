#ifndef WKAGENT_TESTS_AGENT_JSONL_FIXTURE_H
#define WKAGENT_TESTS_AGENT_JSONL_FIXTURE_H

#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/feed_recorder.h"
#include "agent/jsonl_feed.h"

namespace wkagent::test {

// What lines of JSON give, read in blocks of `size` bytes.
inline FeedRecorder FoundJson(std::string_view text, std::size_t size = std::string::npos) {
  FeedRecorder found;
  JsonlFeed feed(found);
  TakeInBlocks(feed, text, size);
  return found;
}

// The event of an object with these members beside an EventID and an EventTime.
inline Event EventWith(const std::string& members) {
  const FeedRecorder found =
      FoundJson(R"({"EventID":20005,"EventTime":1795207563,)" + members + "}\n");
  EXPECT_THAT(found.malformed, ::testing::IsEmpty());
  EXPECT_THAT(found.events, ::testing::SizeIs(1)) << members;
  return found.events.empty() ? Event{} : found.events[0];
}

// True when a line of JSON is reported as malformed, and gives no event.
inline bool IsMalformed(const std::string& line) {
  const FeedRecorder found = FoundJson(line + "\n");
  EXPECT_EQ(1U, found.events.size() + found.malformed.size()) << line;
  return found.malformed.size() == 1;
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_AGENT_JSONL_FIXTURE_H
