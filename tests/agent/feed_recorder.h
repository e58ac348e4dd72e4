#ifndef WKAGENT_TESTS_AGENT_FEED_RECORDER_H
#define WKAGENT_TESTS_AGENT_FEED_RECORDER_H

#include <cstring>
#include <ctime>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "agent/feed.h"
#include "agent/unicode.h"

namespace wkagent::test {

// What a feed filled into an event.
struct Event {
  unsigned short code = 0;
  std::int64_t status = 0;
  std::time_t time = 0;
  std::string user;
  std::string node;
  std::string class1;
  std::string object1;
  std::string attribute;
  std::string value;
  std::string class2;
  std::string object2;
  std::string server;
  std::string tree;

  bool operator==(const Event&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Event& event) {
  return out << '{' << event.code << ' ' << event.status << ' ' << event.time << " user "
             << event.user << " node " << event.node << " class1 " << event.class1 << " object1 "
             << event.object1 << " attribute " << event.attribute << " value " << event.value
             << " class2 " << event.class2 << " object2 " << event.object2 << " server "
             << event.server << " tree " << event.tree << '}';
}

struct Malformed {
  long line;
  std::string reason;

  bool operator==(const Malformed&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Malformed& entry) {
  return out << "line " << entry.line << ": " << entry.reason;
}

// Records what a feed reports, and checks of each text that it ends within its field and that XML
// can carry it.
class FeedRecorder : public FeedSink {
 public:
  void OnEvent(tagWKEventData& event) override {
    events.push_back({event.EventID, event.Status, event.EventTime, TextOf(event.UserName),
                      TextOf(event.NodeAddress), TextOf(event.Class1), TextOf(event.Object1),
                      TextOf(event.Attribute1), TextOf(event.AttributeValue), TextOf(event.Class2),
                      TextOf(event.Object2), TextOf(event.ServerName), TextOf(event.TreeName)});
  }

  void OnMalformed(long line, std::string_view reason) override {
    malformed.push_back({line, std::string(reason)});
  }

  [[nodiscard]] std::vector<int> Codes() const {
    std::vector<int> codes;
    for (const Event& event : events) codes.push_back(event.code);
    return codes;
  }

  [[nodiscard]] std::vector<long> MalformedLines() const {
    std::vector<long> lines;
    for (const Malformed& entry : malformed) lines.push_back(entry.line);
    return lines;
  }

  // Everything that was reported, as one text to look for secrets in.
  [[nodiscard]] std::string Everything() const {
    std::string text;
    for (const Event& event : events) text += ::testing::PrintToString(event);
    for (const Malformed& entry : malformed) text += ::testing::PrintToString(entry);
    return text;
  }

  std::vector<Event> events;
  std::vector<Malformed> malformed;

 private:
  template <std::size_t kSize>
  static std::string TextOf(const char (&field)[kSize]) {
    const std::string text(field, strnlen(field, kSize));
    EXPECT_LT(text.size(), kSize) << "a field lacks its terminator";
    EXPECT_TRUE(IsXmlText(text)) << text;
    return text;
  }
};

// Feeds `text` in blocks of `size` bytes, to the end.
inline void TakeInBlocks(Feed& feed, std::string_view text, std::size_t size) {
  for (; text.size() > size; text.remove_prefix(size)) feed.Take(text.substr(0, size));
  feed.Take(text);
  feed.Finish();
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_AGENT_FEED_RECORDER_H
