// An entry of the access log: names of attributes and their values, a zero byte behind each.

#include "agent/access_log_events.h"

#include "fuzz/feed_check.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent;
  using namespace wkagent::fuzz;
  AccessLogEntry entry;
  for (Parts parts(data, size); !parts.IsEmpty();) {
    const std::string attribute = parts.Next();
    entry.Add(attribute, parts.Next());
  }
  CheckingSink sink;
  AccessLogEvents events(sink, "ldap1", "acme");
  const std::string error = events.Take(entry);
  Require(error.empty() || sink.Found().empty(), "an entry that is refused raises no events");
  const std::string found = sink.Found();
  Require(events.Take(entry) == error && sink.Found() == found + found,
          "an entry leaves nothing behind for the next");
  return 0;
}
