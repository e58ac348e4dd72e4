#ifndef WKAGENT_AGENT_CHECK_ENTRY_TRAIL_H
#define WKAGENT_AGENT_CHECK_ENTRY_TRAIL_H

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace wkagent {

// What the list check of the filters looks for, entry by entry. It reads them into one buffer that
// it never clears, so an entry keeps the rest of a longer one before it, and it ends at an entry
// that does not fit.
class EntryTrail {
 public:
  static constexpr std::size_t kLongestEntry = 300;

  // Takes the next entry, as the statement keeps it, and the line it stands on; the text that is
  // looked for. Not for an entry that does not fit, nor after one.
  const std::string& Next(std::string_view entry, long line) {
    text_.replace(0, std::min(entry.size(), text_.size()), entry);
    entries_.push_back({entry.size(), line});
    return text_;
  }

  // The line of the first entry of more than `size` bytes; 0 where there is none.
  [[nodiscard]] long FirstLonger(std::size_t size) const {
    for (const Entry& entry : entries_) {
      if (entry.size > size) return entry.line;
    }
    return 0;
  }

 private:
  struct Entry {
    std::size_t size;
    long line;
  };

  std::string text_;
  std::vector<Entry> entries_;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_ENTRY_TRAIL_H
