#ifndef WKAGENT_SYSLOG_FRAMED_LINES_H
#define WKAGENT_SYSLOG_FRAMED_LINES_H

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace wkagent {

// Lines, each followed by a line feed, as they go over a connection and into a batch file. Their
// memory is kept for the next object.
class FramedLines {
 public:
  explicit FramedLines(std::span<const std::string> lines);
  ~FramedLines();
  FramedLines(const FramedLines&) = delete;
  FramedLines& operator=(const FramedLines&) = delete;

  [[nodiscard]] std::string_view View() const;

 private:
  struct Buffer;

  std::unique_ptr<Buffer> buffer_;
  std::size_t size_ = 0;
};

}  // namespace wkagent

#endif  // WKAGENT_SYSLOG_FRAMED_LINES_H
