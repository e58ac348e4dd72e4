// Streams of the C library, which calls its own write and read.

#include <cerrno>
#include <cstddef>

#include "faults/failing_call.h"

using wkagent::faults::Call;
using wkagent::faults::NextFunction;
using wkagent::faults::Subject;
using wkagent::faults::Turn;

namespace {

NextFunction<int(void*)> nextFileno("fileno");
NextFunction<void(void*)> nextPurge("__fpurge");
NextFunction<int(void*)> nextClose("fclose");
NextFunction<std::size_t(const void*, std::size_t, std::size_t, void*)> nextWrite("fwrite");

constexpr int kEndOfFile = -1;

Subject About(void* stream) { return {.file = stream == nullptr ? -1 : nextFileno(stream)}; }

// Fails as the C library does, which notes it in the stream: the flag is _IO_ERR_SEEN of its first
// member.
template <typename Result>
Result Failed(void* stream, Result result) {
  constexpr int kErrorSeen = 0x20;
  if (stream != nullptr) *static_cast<int*>(stream) |= kErrorSeen;
  return result;
}

}  // namespace

WKAGENT_FALLIBLE(int, fputs, (const char* text, void* stream), kStream, About(stream),
                 Failed(stream, kEndOfFile), text, stream)
WKAGENT_FALLIBLE(int, fflush, (void* stream), kStream, About(stream), Failed(stream, kEndOfFile),
                 stream)
WKAGENT_FALLIBLE(std::size_t, fread,
                 (void* data, std::size_t size, std::size_t count, void* stream), kRead,
                 About(stream), Failed(stream, std::size_t{0}), data, size, count, stream)
WKAGENT_FALLIBLE(char*, fgets, (char* line, int size, void* stream), kRead, About(stream),
                 Failed<char*>(stream, nullptr), line, size, stream)
WKAGENT_FALLIBLE(long, getline, (char** line, std::size_t* size, void* stream), kRead,
                 About(stream), Failed(stream, -1L), line, size, stream)
WKAGENT_FALLIBLE(std::size_t, __fread_chk,
                 (void* data, std::size_t room, std::size_t size, std::size_t count, void* stream),
                 kRead, About(stream), Failed(stream, std::size_t{0}), data, room, size, count,
                 stream)
WKAGENT_FALLIBLE(char*, __fgets_chk, (char* line, std::size_t room, int size, void* stream), kRead,
                 About(stream), Failed<char*>(stream, nullptr), line, room, size, stream)
WKAGENT_FALLIBLE(long, __getdelim, (char** line, std::size_t* size, int delimiter, void* stream),
                 kRead, About(stream), Failed(stream, -1L), line, size, delimiter, stream)

WKAGENT_REPLACED(std::size_t, fwrite,
                 (const void* data, std::size_t size, std::size_t count, void* stream)) {
  const Turn turn(Call::kStream, About(stream));
  if (turn.Fails()) return Failed(stream, std::size_t{0});
  return nextWrite(data, size, turn.Portion(count), stream);
}

// A close that fails has lost what was buffered.
WKAGENT_REPLACED(int, fclose, (void* stream)) {
  const Turn turn(Call::kStream, About(stream));
  if (!turn.Fails()) return nextClose(stream);
  const int error = errno;
  nextPurge(stream);
  nextClose(stream);
  errno = error;
  return kEndOfFile;
}
