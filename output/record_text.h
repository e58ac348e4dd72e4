#ifndef WKAGENT_OUTPUT_RECORD_TEXT_H
#define WKAGENT_OUTPUT_RECORD_TEXT_H

#include <cstddef>
#include <memory>
#include <string_view>

#include <libxml/tree.h>

#include <wkagent/output.h>

#include "output/record_dates.h"

namespace wkagent {

// The element of one record as the text writer of libxml2 would write it among the others, with its
// indentation and line end. The buffer is made once and holds any record, whatever must be escaped.
class RecordText {
 public:
  RecordText() : buffer_(std::make_unique<char[]>(kSize)), end_(buffer_.get()) {}

  // The names are no longer than those of a record are.
  void Begin(std::string_view element);
  void Attribute(std::string_view name, std::string_view value);
  void Number(std::string_view name, int value);
  void End() { Add("/>\n"); }

  [[nodiscard]] std::string_view View() const {
    return {buffer_.get(), static_cast<std::size_t>(end_ - buffer_.get())};
  }

 private:
  static constexpr std::size_t kLongestEscape = 6;  // of one byte: "&quot;", "&#xFF;"
  static constexpr std::size_t kNames = 2048;       // more than all names and quotes take
  static constexpr std::size_t kSize =
      kLongestEscape * (sizeof(tagWKEventData) + 3 * sizeof(RecordDates::local)) + kNames;

  struct Freer {
    void operator()(xmlBuffer* buffer) const { xmlBufferFree(buffer); }
  };

  void Add(std::string_view text) { end_ += text.copy(end_, text.size()); }
  void AddEscaped(std::string_view value);
  void AddByLibrary(std::string_view value);

  std::unique_ptr<char[]> buffer_;
  char* end_;
  std::unique_ptr<xmlBuffer, Freer> foreign_;  // for text beyond ASCII
};

}  // namespace wkagent

#endif  // WKAGENT_OUTPUT_RECORD_TEXT_H
