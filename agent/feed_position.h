#ifndef WKAGENT_AGENT_FEED_POSITION_H
#define WKAGENT_AGENT_FEED_POSITION_H

#include <cstdint>
#include <string>
#include <string_view>

#include "agent/feed_place.h"

namespace wkagent {

// How far the file of a feed has been dealt with. As a text it is the lines "wkagent feed position
// 1", the feed's name, "file DEVICE INODE SIZE HASH", "place OFFSET LINE" and "items DONE
// RECORDED".
struct FeedPosition {
  FeedPlace place;
  std::int64_t done = 0;      // events and malformed entries behind it that are dealt with, too
  std::int64_t recorded = 0;  // those after them that are in the audit files, and perhaps not yet
                              // with the syslog collector

  [[nodiscard]] std::string ToText(std::string_view feed) const;

  // Takes over what ToText made for the same feed, and cuts it off `text`. False, with an empty
  // position, for any other text.
  [[nodiscard]] bool FromText(std::string_view& text, std::string_view feed);
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_FEED_POSITION_H
