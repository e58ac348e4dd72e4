#include "output/unfinished_file.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

#include <sys/types.h>
#include <unistd.h>

#include "core/handles.h"

namespace wkagent {
namespace {

// What an audit file begins with, up to its first record, and what it ends with.
struct Frame {
  std::string head;
  std::string tail;
};

Frame FrameOf(const std::string& root, const std::string& group) {
  return {"<?xml version=\"1.0\"?>\n<" + root + ">\n  <" + group,
          "  </" + group + ">\n</" + root + ">\n"};
}

// Reads up to `size` bytes from `offset` on, counted from the file's end where it is negative.
std::optional<std::string> ReadAt(std::FILE* file, long offset, std::size_t size) {
  std::string text(size, '\0');
  if (std::fseek(file, offset, offset < 0 ? SEEK_END : SEEK_SET) != 0) return std::string();
  text.resize(std::fread(text.data(), 1, size, file));
  if (std::ferror(file) != 0) return std::nullopt;
  return text;
}

struct LineFreer {
  void operator()(char* line) const { std::free(line); }
};

// The offset behind the last line that ends a record, 0 where there is none.
std::optional<off_t> EndOfLastRecord(std::FILE* file) {
  std::rewind(file);
  char* buffer = nullptr;
  std::size_t capacity = 0;
  off_t offset = 0;
  off_t end = 0;
  ssize_t length = 0;
  while ((length = getline(&buffer, &capacity, file)) > 0) {
    std::string_view line(buffer, static_cast<std::size_t>(length));
    if (!line.ends_with('\n')) break;  // a last line without line end is not whole
    offset += length;
    line.remove_suffix(1);
    const bool endsElement = line.ends_with("/>") || line.starts_with("    </");
    if (line.starts_with("    <") && endsElement) end = offset;
  }
  const std::unique_ptr<char, LineFreer> owner(buffer);
  // Without memory for a line it ends as if the file did, but says nothing of an end.
  if (std::ferror(file) != 0 || (length < 0 && std::feof(file) == 0)) return std::nullopt;
  return end;
}

enum class Look { kWhole, kUnfinished, kUnreadable };

Look LookAt(std::FILE* file, const Frame& frame, const std::string& rootElement) {
  const std::string rootEnd = "</" + rootElement + ">\n";
  const auto tail = ReadAt(file, -static_cast<long>(rootEnd.size()), rootEnd.size());
  const auto head = ReadAt(file, 0, frame.head.size() + 2);
  if (!tail || !head) return Look::kUnreadable;
  if (*tail == rootEnd) return Look::kWhole;
  const bool began =
      (frame.head + ">\n").starts_with(*head) || (frame.head + "/>").starts_with(*head);
  return began ? Look::kUnfinished : Look::kWhole;
}

}  // namespace

Completion CompleteFile(const std::string& path, const std::string& rootElement,
                        const std::string& groupElement) {
  const Frame frame = FrameOf(rootElement, groupElement);
  const File file(std::fopen(path.c_str(), "re"));
  if (file == nullptr) return Completion::kFailed;
  switch (LookAt(file.get(), frame, rootElement)) {
    case Look::kWhole:
      return Completion::kWasComplete;
    case Look::kUnreadable:
      return Completion::kFailed;
    case Look::kUnfinished:
      break;
  }
  const std::optional<off_t> end = EndOfLastRecord(file.get());
  if (!end || truncate(path.c_str(), *end) != 0) return Completion::kFailed;
  if (*end == 0) return Completion::kCompleted;
  const File appended(std::fopen(path.c_str(), "ae"));
  if (appended == nullptr) return Completion::kFailed;
  const bool written =
      std::fputs(frame.tail.c_str(), appended.get()) >= 0 && std::fflush(appended.get()) == 0;
  return written ? Completion::kCompleted : Completion::kFailed;
}

bool IsEmptyDocument(const std::string& path, const std::string& rootElement,
                     const std::string& groupElement) {
  const std::string document =
      FrameOf(rootElement, groupElement).head + "/>\n</" + rootElement + ">\n";
  const File file(std::fopen(path.c_str(), "re"));
  return file != nullptr && ReadAt(file.get(), 0, document.size() + 1) == document;
}

bool MayHoldRecord(const std::string& path) {
  const File file(std::fopen(path.c_str(), "re"));
  return file == nullptr || EndOfLastRecord(file.get()) != off_t{0};
}

}  // namespace wkagent
