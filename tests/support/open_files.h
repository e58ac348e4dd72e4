#ifndef WKAGENT_TESTS_SUPPORT_OPEN_FILES_H
#define WKAGENT_TESTS_SUPPORT_OPEN_FILES_H

#include <filesystem>
#include <iterator>

#include <sys/resource.h>

namespace wkagent::test {

// The number of descriptors that the process holds open.
inline long OpenFiles() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

// While it lives, no further file can be opened in this process. The undefined-behaviour sanitizer
// opens some itself when it first sees an object of a class with virtual functions: use the object
// once before.
class NoMoreFiles {
 public:
  NoMoreFiles() {
    getrlimit(RLIMIT_NOFILE, &before_);
    const rlimit none{0, before_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
  }
  ~NoMoreFiles() { setrlimit(RLIMIT_NOFILE, &before_); }
  NoMoreFiles(const NoMoreFiles&) = delete;
  NoMoreFiles& operator=(const NoMoreFiles&) = delete;

 private:
  rlimit before_{};
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_OPEN_FILES_H
