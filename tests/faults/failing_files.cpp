// Files: opening, reading, writing, and what is done to their names. The C library's names for
// large files, and those that check buffers, are further names of the same calls.

#include <cstdarg>
#include <cstddef>

#include "faults/failing_call.h"

using wkagent::faults::At;
using wkagent::faults::Call;
using wkagent::faults::NextFunction;
using wkagent::faults::Of;
using wkagent::faults::Turn;

namespace {

unsigned ModeIn(va_list more) { return va_arg(more, unsigned); }

}  // namespace

#define WKAGENT_OPEN(name)                                          \
  namespace {                                                       \
  NextFunction<int(const char*, int, ...)> next_##name(#name);      \
  }                                                                 \
  WKAGENT_REPLACED(int, name, (const char* path, int flags, ...)) { \
    std::va_list more;                                              \
    va_start(more, flags);                                          \
    const unsigned mode = ModeIn(more);                             \
    va_end(more);                                                   \
    const Turn turn(Call::kOpen, At(path));                         \
    return turn.Fails() ? -1 : next_##name(path, flags, mode);      \
  }

#define WKAGENT_OPEN_AT(name)                                                   \
  namespace {                                                                   \
  NextFunction<int(int, const char*, int, ...)> next_##name(#name);             \
  }                                                                             \
  WKAGENT_REPLACED(int, name, (int folder, const char* path, int flags, ...)) { \
    std::va_list more;                                                          \
    va_start(more, flags);                                                      \
    const unsigned mode = ModeIn(more);                                         \
    va_end(more);                                                               \
    const Turn turn(Call::kOpen, At(folder, path));                             \
    return turn.Fails() ? -1 : next_##name(folder, path, flags, mode);          \
  }

WKAGENT_OPEN(open)
WKAGENT_OPEN(open64)
WKAGENT_OPEN_AT(openat)
WKAGENT_OPEN_AT(openat64)
WKAGENT_FALLIBLE(int, __open_2, (const char* path, int flags), kOpen, At(path), -1, path, flags)
WKAGENT_FALLIBLE(int, __open64_2, (const char* path, int flags), kOpen, At(path), -1, path, flags)
WKAGENT_FALLIBLE(int, __openat_2, (int folder, const char* path, int flags), kOpen,
                 At(folder, path), -1, folder, path, flags)
WKAGENT_FALLIBLE(int, __openat64_2, (int folder, const char* path, int flags), kOpen,
                 At(folder, path), -1, folder, path, flags)
WKAGENT_FALLIBLE(int, creat, (const char* path, unsigned mode), kOpen, At(path), -1, path, mode)
WKAGENT_FALLIBLE(int, creat64, (const char* path, unsigned mode), kOpen, At(path), -1, path, mode)
WKAGENT_FALLIBLE(void*, fopen, (const char* path, const char* mode), kOpen, At(path), nullptr, path,
                 mode)
WKAGENT_FALLIBLE(void*, fopen64, (const char* path, const char* mode), kOpen, At(path), nullptr,
                 path, mode)
WKAGENT_FALLIBLE(int, mkstemp, (char* path), kOpen, At(path), -1, path)
WKAGENT_FALLIBLE(int, mkstemp64, (char* path), kOpen, At(path), -1, path)
WKAGENT_FALLIBLE(int, mkostemp, (char* path, int flags), kOpen, At(path), -1, path, flags)
WKAGENT_FALLIBLE(int, mkostemp64, (char* path, int flags), kOpen, At(path), -1, path, flags)
WKAGENT_FALLIBLE(void*, opendir, (const char* path), kOpen, At(path), nullptr, path)

WKAGENT_PARTIAL(read, (int file, void* data, std::size_t size), kRead, Of(file), file, data, size)
WKAGENT_PARTIAL(__read_chk, (int file, void* data, std::size_t size, std::size_t room), kRead,
                Of(file), file, data, size, room)
WKAGENT_PARTIAL(pread, (int file, void* data, std::size_t size, long at), kRead, Of(file), file,
                data, size, at)
WKAGENT_PARTIAL(pread64, (int file, void* data, std::size_t size, long at), kRead, Of(file), file,
                data, size, at)
WKAGENT_PARTIAL(write, (int file, const void* data, std::size_t size), kWrite, Of(file), file, data,
                size)
WKAGENT_PARTIAL(pwrite, (int file, const void* data, std::size_t size, long at), kWrite, Of(file),
                file, data, size, at)
WKAGENT_PARTIAL(pwrite64, (int file, const void* data, std::size_t size, long at), kWrite, Of(file),
                file, data, size, at)

// What is written of two parts is the first of them.
WKAGENT_PARTIAL(writev, (int file, const void* parts, std::size_t size), kWrite, Of(file), file,
                parts, size)

WKAGENT_FALLIBLE(int, rename, (const char* from, const char* to), kRename, At(from), -1, from, to)
WKAGENT_FALLIBLE(int, renameat, (int fromFolder, const char* from, int toFolder, const char* to),
                 kRename, At(fromFolder, from), -1, fromFolder, from, toFolder, to)
WKAGENT_FALLIBLE(int, renameat2,
                 (int fromFolder, const char* from, int toFolder, const char* to, unsigned flags),
                 kRename, At(fromFolder, from), -1, fromFolder, from, toFolder, to, flags)
WKAGENT_FALLIBLE(int, link, (const char* from, const char* to), kRename, At(from), -1, from, to)
WKAGENT_FALLIBLE(int, linkat,
                 (int fromFolder, const char* from, int toFolder, const char* to, int flags),
                 kRename, At(fromFolder, from), -1, fromFolder, from, toFolder, to, flags)
WKAGENT_FALLIBLE(int, unlink, (const char* path), kUnlink, At(path), -1, path)
WKAGENT_FALLIBLE(int, unlinkat, (int folder, const char* path, int flags), kUnlink,
                 At(folder, path), -1, folder, path, flags)
WKAGENT_FALLIBLE(int, remove, (const char* path), kUnlink, At(path), -1, path)
WKAGENT_FALLIBLE(int, mkdir, (const char* path, unsigned mode), kMkdir, At(path), -1, path, mode)
WKAGENT_FALLIBLE(int, mkdirat, (int folder, const char* path, unsigned mode), kMkdir,
                 At(folder, path), -1, folder, path, mode)
WKAGENT_FALLIBLE(int, fsync, (int file), kSync, Of(file), -1, file)
WKAGENT_FALLIBLE(int, fdatasync, (int file), kSync, Of(file), -1, file)
WKAGENT_FALLIBLE(int, truncate, (const char* path, long size), kTruncate, At(path), -1, path, size)
WKAGENT_FALLIBLE(int, truncate64, (const char* path, long size), kTruncate, At(path), -1, path,
                 size)
WKAGENT_FALLIBLE(int, ftruncate, (int file, long size), kTruncate, Of(file), -1, file, size)
WKAGENT_FALLIBLE(int, ftruncate64, (int file, long size), kTruncate, Of(file), -1, file, size)
WKAGENT_FALLIBLE(int, flock, (int file, int operation), kLock, Of(file), -1, file, operation)
WKAGENT_FALLIBLE(int, inotify_init1, (int flags), kWatch, {}, -1, flags)
WKAGENT_FALLIBLE(int, inotify_add_watch, (int queue, const char* path, unsigned mask), kWatch,
                 At(path), -1, queue, path, mask)
