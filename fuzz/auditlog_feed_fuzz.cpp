// The change log of a directory server.

#include "agent/auditlog_feed.h"

#include "fuzz/feed_check.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  wkagent::fuzz::CheckFeed(
      data, size, [](wkagent::FeedSink& sink) { return wkagent::AuditlogFeed(sink, "ldap1"); });
  return 0;
}
