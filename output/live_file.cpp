#include "output/live_file.h"

#include <cerrno>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

#include "core/handles.h"

namespace wkagent {
namespace {

struct LiveFile {
  Fd fd;
  int* error;
};

// The callbacks of an xmlOutputBuffer, which owns the LiveFile until it closes it.
int WriteAll(void* context, const char* data, int length) {
  const auto* file = static_cast<LiveFile*>(context);
  int done = 0;
  while (done < length && *file->error == 0) {
    const ssize_t written =
        write(file->fd.Get(), data + done, static_cast<std::size_t>(length - done));
    if (written >= 0) {
      done += static_cast<int>(written);
    } else if (errno != EINTR) {
      *file->error = errno;
    }
  }
  return *file->error == 0 ? length : -1;
}

int CloseFile(void* context) {
  const std::unique_ptr<LiveFile> owner(static_cast<LiveFile*>(context));
  return 0;
}

}  // namespace

xmlTextWriter* NewFileWriter(const char* path, int* error) {
  Fd fd(open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  if (!fd.IsOpen()) return nullptr;
  *error = 0;
  auto file = std::make_unique<LiveFile>(LiveFile{std::move(fd), error});
  xmlOutputBuffer* const buffer = xmlOutputBufferCreateIO(WriteAll, CloseFile, file.get(), nullptr);
  if (buffer == nullptr) return nullptr;
  file.release();  // the buffer closes it
  xmlTextWriter* const writer = xmlNewTextWriter(buffer);
  if (writer == nullptr) xmlOutputBufferClose(buffer);
  return writer;
}

}  // namespace wkagent
