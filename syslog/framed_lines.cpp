#include "syslog/framed_lines.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace wkagent {
namespace {

constexpr std::size_t kUsualSize = std::size_t{64} << 10;
constexpr std::size_t kMostKept = std::size_t{1} << 20;  // so that huge lines do not stay for ever

struct Buffer {
  char* WithRoomFor(std::size_t needed) {
    const bool tooLarge = size > kMostKept && needed <= kMostKept;
    if (needed > size || tooLarge || bytes == nullptr) {
      bytes.reset();
      size = std::max(needed, kUsualSize);
      bytes = std::make_unique_for_overwrite<char[]>(size);
    }
    return bytes.get();
  }

  std::unique_ptr<char[]> bytes;
  std::size_t size = 0;
};

}  // namespace

std::string_view FramedLines(std::span<const std::string> lines) {
  thread_local Buffer buffer;
  std::size_t size = 0;
  for (const std::string& line : lines) size += line.size() + 1;
  char* const begin = buffer.WithRoomFor(size);
  char* end = begin;
  for (const std::string& line : lines) {
    end += line.copy(end, line.size());
    *end++ = '\n';
  }
  return {begin, size};
}

}  // namespace wkagent
