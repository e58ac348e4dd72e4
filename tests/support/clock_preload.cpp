// To preload into programs: their time of day is the system's and the seconds that the file in
// WKAGENT_TEST_CLOCK holds, as an administrator may set it at any time. See support/set_clock.h.

#include <cstdint>
#include <cstdlib>
#include <ctime>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

const volatile std::int64_t* Offset() {
  const char* const path = std::getenv("WKAGENT_TEST_CLOCK");
  const int file = path == nullptr ? -1 : open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0) std::abort();
  void* const memory = mmap(nullptr, sizeof(std::int64_t), PROT_READ, MAP_SHARED, file, 0);
  close(file);
  if (memory == MAP_FAILED) std::abort();
  return static_cast<const volatile std::int64_t*>(memory);
}

std::time_t Step() {
  static const volatile std::int64_t* const offset = Offset();
  return *offset;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec* out) noexcept {
  const int result = static_cast<int>(syscall(SYS_clock_gettime, clock, out));
  if (clock == CLOCK_REALTIME) out->tv_sec += Step();
  return result;
}

extern "C" __attribute__((visibility("default"))) std::time_t time(std::time_t* out) noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  if (out != nullptr) *out = now.tv_sec;
  return now.tv_sec;
}
