#include "agent/live_marks.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "agent/content_hash.h"
#include "agent/text_lines.h"
#include "core/own_file.h"

namespace wkagent {
namespace {

constexpr std::int64_t kTail = 4096;

std::int64_t SizeOf(const Fd& fd) {
  struct stat status {};
  return fstat(fd.Get(), &status) == 0 ? status.st_size : 0;
}

// Of the bytes before `end`.
std::uint64_t TailHash(const Fd& fd, std::int64_t end) {
  std::array<char, kTail> tail{};
  const std::int64_t size = std::min(end, kTail);
  const ssize_t count = pread(fd.Get(), tail.data(), static_cast<std::size_t>(size), end - size);
  return ContentHash({tail.data(), count < 0 ? 0 : static_cast<std::size_t>(count)});
}

}  // namespace

void LiveMarks::Add(const std::string& path, bool closed) {
  const Fd fd = OpenOwnFile(path.c_str(), O_RDONLY);
  const std::int64_t size = fd.IsOpen() ? SizeOf(fd) : 0;
  marks_.push_back({path, size, TailHash(fd, size), closed || !fd.IsOpen()});
}

std::string LiveMarks::ToText() const {
  std::string text;
  for (const Mark& mark : marks_) {
    text.append("live ").append(mark.path).append(1, ' ').append(std::to_string(mark.size));
    text.append(1, ' ').append(std::to_string(mark.hash));
    text.append(mark.closed ? " closed\n" : " open\n");
  }
  return text;
}

bool LiveMarks::FromText(std::string_view& text) {
  marks_.clear();
  while (TakeWord(text, "live ")) {
    std::string_view path;
    std::string_view state;
    Mark mark;
    if (!TakePart(text, ' ', path) || !TakeNumber(text, ' ', mark.size) ||
        !TakeNumber(text, ' ', mark.hash) || !TakePart(text, '\n', state) ||
        (state != "open" && state != "closed")) {
      return false;
    }
    mark.path = path;
    mark.closed = state == "closed";
    marks_.push_back(std::move(mark));
  }
  return true;
}

std::vector<std::string> LiveMarks::CutBack() const {
  std::vector<std::string> messages;
  for (const Mark& mark : marks_) {
    if (std::string message = CutBack(mark); !message.empty()) {
      messages.push_back(std::move(message));
    }
  }
  return messages;
}

std::string LiveMarks::CutBack(const Mark& mark) {
  const Fd fd = OpenOwnFile(mark.path.c_str(), O_RDWR);
  if (!fd.IsOpen()) return {};  // it has been archived
  const std::int64_t size = SizeOf(fd);
  const bool same = size >= mark.size && TailHash(fd, mark.size) == mark.hash;
  if (!same && !mark.closed) {
    return mark.path +
           ": not the file that the position tells of; all of it is kept, so some events may be "
           "written again";
  }
  const std::int64_t keep = same ? mark.size : 0;
  if (size == keep) return {};
  if (ftruncate(fd.Get(), keep) != 0 || fdatasync(fd.Get()) != 0) {
    return mark.path +
           ": cannot be cut back, so some events may be written again: " + std::strerror(errno);
  }
  return mark.path + ": " + std::to_string(size - keep) +
         " bytes cut off, whose events are read again from the feed";
}

}  // namespace wkagent
