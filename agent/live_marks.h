#ifndef WKAGENT_AGENT_LIVE_MARKS_H
#define WKAGENT_AGENT_LIVE_MARKS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace wkagent {

// How much of the live audit files belongs to a position: what a crash left behind that is read
// again from the feed, so it is cut off before. A live file is known by its last bytes of then, as
// it may have been archived since and its successor begun.
//
// As a text it is a line "live NAME SIZE HASH open" or "... closed" for each file.
class LiveMarks {
 public:
  // Adds the file at `path` as it is. Where it is closed, what bears its name later is another one.
  void Add(const std::string& path, bool closed);

  [[nodiscard]] std::string ToText() const;

  // Takes over what ToText made, and cuts it off `text`; false where that is not all lines of it
  // that begin like one.
  [[nodiscard]] bool FromText(std::string_view& text);

  // Cuts the marked files back to what the marks say. Returns what the operator should know, a line
  // each. A file that no mark tells of, or that is not the one that was marked, keeps everything.
  [[nodiscard]] std::vector<std::string> CutBack() const;

 private:
  struct Mark {
    std::string path;
    std::int64_t size = 0;
    std::uint64_t hash = 0;
    bool closed = false;
  };

  [[nodiscard]] static std::string CutBack(const Mark& mark);

  std::vector<Mark> marks_;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_LIVE_MARKS_H
