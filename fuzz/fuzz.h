#ifndef WKAGENT_FUZZ_FUZZ_H
#define WKAGENT_FUZZ_FUZZ_H

// What the fuzz targets share. A target takes any bytes, does with them what the product would, and
// ends the program where a promise is broken; docs/fuzzing.md has the list.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include <sys/mman.h>
#include <unistd.h>

#include "core/handles.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace wkagent::fuzz {

inline void Require(bool kept, const char* promise) {
  if (kept) return;
  std::fprintf(stderr, "broken: %s\n", promise);
  std::abort();
}

// The bytes of a case, cut into parts at zero bytes.
class Parts {
 public:
  Parts(const std::uint8_t* data, std::size_t size)
      : left_(reinterpret_cast<const char*>(data), size) {}

  [[nodiscard]] bool IsEmpty() const { return left_.empty(); }

  // The next part, empty where there is none.
  std::string Next() {
    const std::string part(left_.substr(0, left_.find('\0')));
    left_.remove_prefix(part.size() < left_.size() ? part.size() + 1 : part.size());
    return part;
  }

  // A number at the front of the next part.
  int NextNumber() { return static_cast<int>(std::strtol(Next().c_str(), nullptr, 10)); }

  // All that is left, zero bytes included.
  std::string Rest() { return std::string(std::exchange(left_, {})); }

 private:
  std::string_view left_;
};

// A file that lies on no disk.
class MemoryFile {
 public:
  MemoryFile() : file_(memfd_create("fuzz", MFD_CLOEXEC)) {
    Require(file_.IsOpen(), "the machine has files in memory");
    path_ = "/proc/self/fd/" + std::to_string(file_.Get());
  }

  // For methods that take `char*`.
  [[nodiscard]] char* Path() { return path_.data(); }

  void Replace(std::string_view bytes) {
    const auto size = static_cast<ssize_t>(bytes.size());
    Require(ftruncate(file_.Get(), 0) == 0 &&
                pwrite(file_.Get(), bytes.data(), bytes.size(), 0) == size,
            "a file in memory takes what is written");
  }

 private:
  Fd file_;
  std::string path_;
};

}  // namespace wkagent::fuzz

#endif  // WKAGENT_FUZZ_FUZZ_H
