#include "output/live_file.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

#include "core/own_file.h"

namespace wkagent {
namespace {

// libxml2 hands over its text once there is this much of it. With less it has been told to flush.
constexpr int kFullBuffer = 4000;

constexpr mode_t kMode = 0640;  // for the agent's group at most

// Gathers text into blocks, as a write of a few KiB costs mostly the call.
class LiveFile {
 public:
  LiveFile(Fd fd, int* error) : fd_(std::move(fd)), error_(error) {}

  // Takes text and, where `flush` says so, writes all that it has. False after an error.
  [[nodiscard]] bool Write(const char* data, std::size_t length, bool flush) {
    if (used_ + length > kBlock) Flush();
    if (length > kBlock) {
      WriteOut(data, length);
    } else {
      std::memcpy(block_.get() + used_, data, length);
      used_ += length;
    }
    if (flush) Flush();
    return *error_ == 0;
  }

  void Flush() { WriteOut(block_.get(), std::exchange(used_, 0)); }

  // The same, as far as the disk. What is no file on a disk cannot be synced and need not be.
  void Sync() {
    Flush();
    if (*error_ == 0 && fdatasync(fd_.Get()) != 0 && errno != EINVAL) *error_ = errno;
  }

 private:
  static constexpr std::size_t kBlock = std::size_t{32} << 10;

  void WriteOut(const char* data, std::size_t length) {
    std::size_t done = 0;
    while (done < length && *error_ == 0) {
      const ssize_t written = write(fd_.Get(), data + done, length - done);
      if (written >= 0) {
        done += static_cast<std::size_t>(written);
      } else if (errno != EINTR) {
        *error_ = errno;
      }
    }
  }

  const Fd fd_;
  int* const error_;
  const std::unique_ptr<char[]> block_ = std::make_unique<char[]>(kBlock);
  std::size_t used_ = 0;
};

// The callbacks of an xmlOutputBuffer, which owns the LiveFile until it closes it.
int WriteText(void* context, const char* data, int length) {
  auto* const file = static_cast<LiveFile*>(context);
  const bool flush = length < kFullBuffer;
  return file->Write(data, static_cast<std::size_t>(length), flush) ? length : -1;
}

int CloseFile(void* context) {
  const std::unique_ptr<LiveFile> owner(static_cast<LiveFile*>(context));
  owner->Flush();  // the last text may have filled the buffer to the byte, and left none to hand
                   // over
  return 0;
}

}  // namespace

void SyncText(xmlOutputBuffer* textBuffer) { static_cast<LiveFile*>(textBuffer->context)->Sync(); }

xmlTextWriter* NewFileWriter(const char* path, int* error, xmlOutputBuffer** textBuffer,
                             bool fresh) {
  Fd fd = fresh ? OpenOwnFile(path, O_WRONLY | O_CREAT | O_EXCL, kMode)
                : Fd(open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  if (!fd.IsOpen()) return nullptr;
  *error = 0;
  auto file = std::make_unique<LiveFile>(std::move(fd), error);
  xmlOutputBuffer* const buffer =
      xmlOutputBufferCreateIO(WriteText, CloseFile, file.get(), nullptr);
  if (buffer == nullptr) return nullptr;
  file.release();  // the buffer closes it
  xmlTextWriter* const writer = xmlNewTextWriter(buffer);
  if (writer == nullptr) {
    xmlOutputBufferClose(buffer);
  } else if (textBuffer != nullptr) {
    *textBuffer = buffer;
  }
  return writer;
}

}  // namespace wkagent
