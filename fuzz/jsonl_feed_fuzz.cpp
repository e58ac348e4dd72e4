// Events as JSON, a line each.

#include "agent/jsonl_feed.h"

#include "fuzz/feed_check.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  wkagent::fuzz::CheckFeed(data, size,
                           [](wkagent::FeedSink& sink) { return wkagent::JsonlFeed(sink); });
  return 0;
}
