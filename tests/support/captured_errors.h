#ifndef WKAGENT_TESTS_SUPPORT_CAPTURED_ERRORS_H
#define WKAGENT_TESTS_SUPPORT_CAPTURED_ERRORS_H

#include <array>
#include <cstdio>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "core/handles.h"

namespace wkagent::test {

// While it lives, what the process writes to standard error can be read at any time.
class CapturedErrors {
 public:
  CapturedErrors()
      : before_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)),
        file_(memfd_create("errors", MFD_CLOEXEC)) {
    std::fflush(stderr);
    dup2(file_.Get(), STDERR_FILENO);
  }
  ~CapturedErrors() {
    std::fflush(stderr);
    dup2(before_.Get(), STDERR_FILENO);
  }
  CapturedErrors(const CapturedErrors&) = delete;
  CapturedErrors& operator=(const CapturedErrors&) = delete;

  [[nodiscard]] bool Hold(const std::string& text) const {
    std::string all;
    std::array<char, 4096> block{};
    ssize_t length = 0;
    while ((length = pread(file_.Get(), block.data(), block.size(),
                           static_cast<off_t>(all.size()))) > 0) {
      all.append(block.data(), static_cast<std::size_t>(length));
    }
    return all.find(text) != std::string::npos;
  }

 private:
  const Fd before_;
  const Fd file_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_CAPTURED_ERRORS_H
