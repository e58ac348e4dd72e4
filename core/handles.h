#ifndef WKAGENT_CORE_HANDLES_H
#define WKAGENT_CORE_HANDLES_H

#include <cstdio>
#include <memory>
#include <utility>

#include <unistd.h>

namespace wkagent {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// Owner of a C stream.
using File = std::unique_ptr<std::FILE, FileCloser>;

// Owner of a file descriptor; -1 is none.
class Fd {
 public:
  Fd() = default;
  explicit Fd(int fd) : fd_(fd) {}
  Fd(Fd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Fd& operator=(Fd&& other) noexcept {
    if (this != &other) Reset(std::exchange(other.fd_, -1));
    return *this;
  }
  ~Fd() { Reset(); }

  [[nodiscard]] int Get() const { return fd_; }
  [[nodiscard]] bool IsOpen() const { return fd_ >= 0; }
  [[nodiscard]] int Release() { return std::exchange(fd_, -1); }
  void Reset(int fd = -1) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
  }

 private:
  int fd_ = -1;
};

}  // namespace wkagent

#endif  // WKAGENT_CORE_HANDLES_H
