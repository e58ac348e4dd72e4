// Streams of the C library, which calls its own write and read.

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

}  // namespace

WKAGENT_FALLIBLE(int, fputs, (const char* text, void* stream), kStream, About(stream), kEndOfFile,
                 text, stream)
WKAGENT_FALLIBLE(int, fflush, (void* stream), kStream, About(stream), kEndOfFile, stream)
WKAGENT_FALLIBLE(std::size_t, fread,
                 (void* data, std::size_t size, std::size_t count, void* stream), kRead,
                 About(stream), 0, data, size, count, stream)
WKAGENT_FALLIBLE(char*, fgets, (char* line, int size, void* stream), kRead, About(stream), nullptr,
                 line, size, stream)
WKAGENT_FALLIBLE(long, getline, (char** line, std::size_t* size, void* stream), kRead,
                 About(stream), -1, line, size, stream)
WKAGENT_FALLIBLE(std::size_t, __fread_chk,
                 (void* data, std::size_t room, std::size_t size, std::size_t count, void* stream),
                 kRead, About(stream), 0, data, room, size, count, stream)
WKAGENT_FALLIBLE(char*, __fgets_chk, (char* line, std::size_t room, int size, void* stream), kRead,
                 About(stream), nullptr, line, room, size, stream)
WKAGENT_FALLIBLE(long, __getdelim, (char** line, std::size_t* size, int delimiter, void* stream),
                 kRead, About(stream), -1, line, size, delimiter, stream)

WKAGENT_REPLACED(std::size_t, fwrite,
                 (const void* data, std::size_t size, std::size_t count, void* stream)) {
  const Turn turn(Call::kStream, About(stream));
  if (turn.Fails()) return 0;
  return nextWrite(data, size, turn.Portion(count), stream);
}

// A close that fails has lost what was buffered.
WKAGENT_REPLACED(int, fclose, (void* stream)) {
  const Turn turn(Call::kStream, About(stream));
  if (turn.Fails()) nextPurge(stream);
  const int result = nextClose(stream);
  return turn.Fails() ? kEndOfFile : result;
}
