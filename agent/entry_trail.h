#ifndef WKAGENT_AGENT_ENTRY_TRAIL_H
#define WKAGENT_AGENT_ENTRY_TRAIL_H

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
    if (entry.size() > text_.size()) {
      text_.resize(entry.size());
      lines_.resize(entry.size());
    }
    for (std::size_t i = 0; i < entry.size(); ++i) {
      text_[i] = entry[i];
      lines_[i] = line;
    }
    return text_;
  }

  // The line of the entry that character `index` of the text comes from.
  [[nodiscard]] long LineOf(std::size_t index) const { return lines_.at(index); }

 private:
  std::string text_;
  std::vector<long> lines_;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_ENTRY_TRAIL_H
