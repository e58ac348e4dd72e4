#include "syslog/framed_lines.h"

#include <algorithm>
#include <atomic>

namespace wkagent {

struct FramedLines::Buffer {
  explicit Buffer(std::size_t room)
      : bytes(std::make_unique_for_overwrite<char[]>(room)), size(room) {}

  std::unique_ptr<char[]> bytes;
  std::size_t size;
};

namespace {

constexpr std::size_t kUsualSize = std::size_t{64} << 10;
constexpr std::size_t kMostKept = std::size_t{1} << 20;  // so that huge lines do not stay for ever

// The buffer that nobody uses, or null. As a rule one thread writes at a time. It is no
// thread_local object: where memory for its entry runs out, the C library ends the process.
std::atomic<void*> spare = nullptr;

}  // namespace

FramedLines::FramedLines(std::span<const std::string> lines)
    : buffer_(static_cast<Buffer*>(spare.exchange(nullptr))) {
  for (const std::string& line : lines) size_ += line.size() + 1;
  if (buffer_ == nullptr || buffer_->size < size_) {
    buffer_ = std::make_unique<Buffer>(std::max(size_, kUsualSize));
  }
  char* end = buffer_->bytes.get();
  for (const std::string& line : lines) {
    end += line.copy(end, line.size());
    *end++ = '\n';
  }
}

FramedLines::~FramedLines() {
  if (buffer_->size > kMostKept) return;
  buffer_.reset(static_cast<Buffer*>(spare.exchange(buffer_.release())));
}

std::string_view FramedLines::View() const { return {buffer_->bytes.get(), size_}; }

}  // namespace wkagent
