#ifndef WKAGENT_SYSLOG_APPEND_FILE_H
#define WKAGENT_SYSLOG_APPEND_FILE_H

#include <fstream>
#include <new>
#include <utility>

#include <ext/stdio_filebuf.h>
#include <fcntl.h>
#include <sys/types.h>

#include "core/handles.h"

namespace wkagent {

// Opens a file for appending, made with `mode` where it is missing. Unlike what std::ofstream opens
// by itself, it is not inherited by programs that the host starts.
[[nodiscard]] inline Fd OpenForAppending(const char* path, mode_t mode) {
  return Fd(::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, mode));
}

// A buffer that owns the file. Without memory for it the file is closed, and the buffer not open.
[[nodiscard]] inline __gnu_cxx::stdio_filebuf<char> BufferOf(Fd file, std::ios::openmode mode) {
  try {
    __gnu_cxx::stdio_filebuf<char> buffer(file.Get(), mode);
    if (buffer.is_open()) (void)file.Release();
    return buffer;
  } catch (const std::bad_alloc&) {
    (void)file.Release();  // the half-made buffer has closed it
    return {};
  }
}

// Lets `stream` write to the file, and own it. Does nothing where that is not possible.
inline void Attach(std::ofstream& stream, Fd file) {
  if (!file.IsOpen()) return;
  __gnu_cxx::stdio_filebuf<char> buffer = BufferOf(std::move(file), std::ios::out | std::ios::app);
  if (!buffer.is_open()) return;
  *stream.rdbuf() = std::move(buffer);
  stream.clear();
}

}  // namespace wkagent

#endif  // WKAGENT_SYSLOG_APPEND_FILE_H
