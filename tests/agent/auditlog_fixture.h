#ifndef WKAGENT_TESTS_AGENT_AUDITLOG_FIXTURE_H
#define WKAGENT_TESTS_AGENT_AUDITLOG_FIXTURE_H

#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/auditlog_feed.h"
#include "agent/feed_recorder.h"

namespace wkagent::test {

inline constexpr char kOrigin[] = "o=acme cn=admin,o=acme IP=127.0.0.1:35568 conn=1000";
inline constexpr std::time_t kWhen = 1795207563;  // 2026-11-20T20:46:03Z

// A record as the server writes it, with the lines from "dn" on as given.
inline std::string Logged(const std::string& change, const std::string& lines,
                          const std::string& origin = kOrigin) {
  const std::string mark = change + " 1795207563";
  return "# " + mark + " " + origin + "\n" + lines + "# end " + mark + "\n\n";
}

inline std::string LoggedAdd(const std::string& dn, const std::string& lines) {
  return Logged("add", "dn: " + dn + "\nchangetype: add\n" + lines);
}

inline std::string LoggedModify(const std::string& dn, const std::string& lines) {
  return Logged("modify", "dn: " + dn + "\nchangetype: modify\n" + lines);
}

inline std::string LoggedDelete(const std::string& dn) {
  return Logged("delete", "dn: " + dn + "\nchangetype: delete\n");
}

inline std::string LoggedRename(const std::string& dn, const std::string& lines) {
  return Logged("modrdn", "dn: " + dn + "\nchangetype: modrdn\n" + lines);
}

inline std::string SampleLog() {
  std::ostringstream text;
  text << std::ifstream(WKAGENT_SOURCE_DIR "/agent/sample/changes.ldif", std::ios::binary).rdbuf();
  return text.str();
}

inline std::string WithCrLf(const std::string& text) {
  std::string result;
  for (const char c : text) result += c == '\n' ? std::string("\r\n") : std::string(1, c);
  return result;
}

// What a log gives, read in blocks of `size` bytes.
inline FeedRecorder Found(const std::string& log, std::size_t size = std::string::npos) {
  FeedRecorder found;
  AuditlogFeed feed(found, "dir1");
  TakeInBlocks(feed, log, size);
  return found;
}

// The events in short, "CODE OBJECT", " ATTRIBUTE=VALUE" and " -> OBJECT2" where they have such.
inline std::vector<std::string> Changes(const FeedRecorder& found) {
  std::vector<std::string> changes;
  for (const Event& event : found.events) {
    std::string text = std::to_string(event.code) + " " + event.object1;
    if (!event.attribute.empty()) text += " " + event.attribute + "=" + event.value;
    if (!event.object2.empty()) text += " -> " + event.object2;
    changes.push_back(text);
  }
  return changes;
}

// The same for a log that is whole.
inline std::vector<std::string> Changes(const std::string& log) {
  const FeedRecorder found = Found(log);
  EXPECT_THAT(found.malformed, ::testing::IsEmpty());
  return Changes(found);
}

// The changes of the attributes of "cn=bob,o=acme" that a modify record with these lines tells of.
inline std::vector<std::string> Modified(const std::string& lines) {
  std::vector<std::string> changes = Changes(LoggedModify("cn=bob,o=acme", lines));
  for (std::string& change : changes) change.erase(5, std::string(" bob.acme").size());
  return changes;
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_AGENT_AUDITLOG_FIXTURE_H
