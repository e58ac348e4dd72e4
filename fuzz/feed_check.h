#ifndef WKAGENT_FUZZ_FEED_CHECK_H
#define WKAGENT_FUZZ_FEED_CHECK_H

// What the targets of feeds share.

#include <algorithm>
#include <string>
#include <string_view>

#include "agent/event_codes.h"
#include "agent/feed.h"
#include "agent/secret_attributes.h"
#include "agent/unicode.h"
#include "core/bounded_copy.h"
#include "fuzz/fuzz.h"

namespace wkagent::fuzz {

// Writes down what a feed finds, and checks of each event what its sink may rely on.
class CheckingSink : public FeedSink {
 public:
  void OnEvent(tagWKEventData& event) override {
    Add(std::to_string(event.EventID) + ' ' + std::to_string(event.Status));
    AddFields(event.UserName, event.NodeAddress, event.Class1, event.Object1, event.Attribute1,
              event.AttributeValue, event.Class2, event.Object2, event.ServerName, event.TreeName);
    const bool secret = event.EventID == kPasswordChanged || IsSecretAttribute(event.Attribute1);
    Require(!secret || event.AttributeValue[0] == '\0', "no password is in an event");
  }

  void OnMalformed(long line, std::string_view reason) override {
    Require(!reason.empty(), "what is refused has a reason");
    Add(std::to_string(line) + ": " + std::string(reason));
  }

  [[nodiscard]] const std::string& Found() const { return found_; }

 private:
  template <std::size_t... kSizes>
  void AddFields(const char (&... fields)[kSizes]) {
    (AddField(fields), ...);
  }

  template <std::size_t kSize>
  void AddField(const char (&field)[kSize]) {
    const std::string_view text = BoundedView(field);
    Require(text.size() < kSize, "a text ends in its field");
    Require(test::IsXmlText(text), "XML can carry every text");
    Add(text);
  }

  void Add(std::string_view text) { found_.append(text).append("\n"); }

  std::string found_;
};

// Gives the input to a feed in blocks of `size` bytes; what it finds.
template <typename MakeFeed>
std::string FoundIn(std::string_view input, std::size_t size, MakeFeed make) {
  CheckingSink sink;
  auto feed = make(sink);
  for (; !input.empty(); input.remove_prefix(std::min(size, input.size()))) {
    feed.Take(input.substr(0, size));
  }
  feed.Finish();
  return sink.Found();
}

// The first byte is the size of the blocks that the rest is also taken in.
template <typename MakeFeed>
void CheckFeed(const std::uint8_t* data, std::size_t size, MakeFeed make) {
  if (size == 0) return;
  const std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
  Require(FoundIn(input, size, make) == FoundIn(input, data[0] % 64U + 1U, make),
          "what is found does not depend on how the input is cut");
}

}  // namespace wkagent::fuzz

#endif  // WKAGENT_FUZZ_FEED_CHECK_H
