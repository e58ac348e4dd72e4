#ifndef WKAGENT_SYSLOG_APPEND_FILE_H
#define WKAGENT_SYSLOG_APPEND_FILE_H

#include <fstream>
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

// Lets `stream` write to the file, and own it. Does nothing without a file.
inline void Attach(std::ofstream& stream, Fd file) {
  if (!file.IsOpen()) return;
  *stream.rdbuf() = __gnu_cxx::stdio_filebuf<char>(file.Release(), std::ios::out | std::ios::app);
  stream.clear();
}

}  // namespace wkagent

#endif  // WKAGENT_SYSLOG_APPEND_FILE_H
