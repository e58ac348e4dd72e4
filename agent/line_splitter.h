#ifndef WKAGENT_AGENT_LINE_SPLITTER_H
#define WKAGENT_AGENT_LINE_SPLITTER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace wkagent {

// Cuts blocks of input into lines and counts them. A line that lies within a block is not copied;
// one that is longer than the limit is handed over as its first bytes, so that memory is bounded.
class LineSplitter {
 public:
  explicit LineSplitter(std::size_t longest) : longest_(longest) {}

  // Begins behind so many bytes and lines of the input.
  void StartAt(std::int64_t offset, long number) {
    read_ = end_ = offset;
    number_ = number;
  }

  // Calls `take(line)` for every line that ends in this block, without its LF or CR LF.
  template <typename Take>
  void Split(std::string_view block, Take take) {
    read_ += static_cast<std::int64_t>(block.size());
    while (!block.empty()) {
      const std::size_t end = block.find('\n');
      if (end == std::string_view::npos) return Keep(block);
      std::string_view line = block.substr(0, end);
      block.remove_prefix(end + 1);
      if (!kept_.empty()) {
        Keep(line);
        line = kept_;
      }
      ++number_;
      end_ = read_ - static_cast<std::int64_t>(block.size());
      take(WithoutReturn(line));
      kept_.clear();
    }
  }

  // The input has ended: calls `take(line)` for a last line without line end, and starts anew.
  template <typename Take>
  void Finish(Take take) {
    if (!kept_.empty()) {
      ++number_;
      take(WithoutReturn(kept_));
    }
    kept_.clear();
    number_ = 0;
    read_ = end_ = 0;
  }

  // The number of the line that was handed over last, from 1.
  [[nodiscard]] long Number() const { return number_; }

  // The number of bytes up to the end of that line.
  [[nodiscard]] std::int64_t Offset() const { return end_; }

  // True while the beginning of a line waits for its end.
  [[nodiscard]] bool HasPart() const { return !kept_.empty(); }

  // True when `line`, as it was handed over, may have been cut.
  [[nodiscard]] bool IsTooLong(std::string_view line) const { return line.size() > longest_; }

 private:
  static std::string_view WithoutReturn(std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
  }

  // Keeps two bytes beyond the limit: one by which IsTooLong tells, even where the other is the CR
  // of the line end.
  void Keep(std::string_view part) { kept_.append(part.substr(0, longest_ + 2 - kept_.size())); }

  const std::size_t longest_;
  std::string kept_;
  long number_ = 0;
  std::int64_t read_ = 0;  // bytes
  std::int64_t end_ = 0;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_LINE_SPLITTER_H
