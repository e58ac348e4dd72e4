#include "agent/feed_position.h"

#include "agent/text_lines.h"

namespace wkagent {
namespace {

constexpr std::string_view kTitle = "wkagent feed position 1\n";

bool ReadText(std::string_view& text, std::string_view feed, FeedPosition& position) {
  FeedPlace& place = position.place;
  std::string_view name;
  return TakeWord(text, kTitle) && TakePart(text, '\n', name) && name == feed &&
         TakeWord(text, "file ") && TakeNumber(text, ' ', place.file.device) &&
         TakeNumber(text, ' ', place.file.inode) && TakeNumber(text, ' ', place.file.headSize) &&
         TakeNumber(text, '\n', place.file.headHash) && TakeWord(text, "place ") &&
         TakeNumber(text, ' ', place.offset) && TakeNumber(text, '\n', place.line) &&
         TakeWord(text, "items ") && TakeNumber(text, ' ', position.done) &&
         TakeNumber(text, '\n', position.recorded);
}

}  // namespace

std::string FeedPosition::ToText(std::string_view feed) const {
  std::string text;
  const auto add = [&text](auto number, char separator) {
    text.append(std::to_string(number)).append(1, separator);
  };
  text.append(kTitle).append(feed).append("\nfile ");
  add(place.file.device, ' ');
  add(place.file.inode, ' ');
  add(place.file.headSize, ' ');
  add(place.file.headHash, '\n');
  text.append("place ");
  add(place.offset, ' ');
  add(place.line, '\n');
  text.append("items ");
  add(done, ' ');
  add(recorded, '\n');
  return text;
}

bool FeedPosition::FromText(std::string_view& text, std::string_view feed) {
  *this = FeedPosition();
  if (ReadText(text, feed, *this)) return true;
  *this = FeedPosition();
  return false;
}

}  // namespace wkagent
