#ifndef WKAGENT_AGENT_FEED_PLACE_H
#define WKAGENT_AGENT_FEED_PLACE_H

#include <cstdint>

namespace wkagent {

// What a file is known by, whatever its name is by now: its number in the file system, and how it
// begins, as numbers of removed files are given to new ones.
struct FileMark {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t headSize = 0;  // so many of its first bytes
  std::uint64_t headHash = 0;

  bool operator==(const FileMark&) const = default;
};

// A place in a file where an entry begins, or the file ends.
struct FeedPlace {
  FileMark file;
  std::int64_t offset = 0;  // bytes before it
  std::int64_t line = 0;    // lines before it

  bool operator==(const FeedPlace&) const = default;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_FEED_PLACE_H
