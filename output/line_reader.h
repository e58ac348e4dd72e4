#ifndef WKAGENT_OUTPUT_LINE_READER_H
#define WKAGENT_OUTPUT_LINE_READER_H

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace wkagent {

// Reads a file line by line, however long the lines and whatever their bytes.
class LineReader {
 public:
  explicit LineReader(std::FILE* file) : file_(file) {}

  // Takes the next line; false at the end, and after an error.
  [[nodiscard]] bool Next() {
    char* buffer = buffer_.release();
    const ssize_t length = getline(&buffer, &capacity_, file_);
    buffer_.reset(buffer);
    // Without memory for a line it ends as if the file did, but says nothing of an end.
    failed_ = length < 0 && std::feof(file_) == 0;
    line_ = length > 0 ? std::string_view(buffer, static_cast<std::size_t>(length))
                       : std::string_view();
    return length > 0;
  }

  // The line with its end, which only the last line may lack. Valid until the next call.
  [[nodiscard]] std::string_view Line() const { return line_; }

  [[nodiscard]] bool HasFailed() const { return failed_ || std::ferror(file_) != 0; }

 private:
  struct Freer {
    void operator()(char* buffer) const { std::free(buffer); }
  };

  std::FILE* const file_;
  std::unique_ptr<char, Freer> buffer_;
  std::size_t capacity_ = 0;
  std::string_view line_;
  bool failed_ = false;
};

}  // namespace wkagent

#endif  // WKAGENT_OUTPUT_LINE_READER_H
