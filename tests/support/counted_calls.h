#ifndef WKAGENT_TESTS_SUPPORT_COUNTED_CALLS_H
#define WKAGENT_TESTS_SUPPORT_COUNTED_CALLS_H

#include <string>

namespace wkagent::test {

// Counts calls of the system that the whole process, the library included, makes while it lives,
// those that a connection or a file in use may need: poll, recv, getsockopt, setsockopt, fcntl,
// write, stat, fstat, mkdir. Those that the C library makes for itself are not seen. For programs
// that are built with support/counted_calls.cpp. One at a time.
class CountedCalls {
 public:
  CountedCalls();
  ~CountedCalls();
  CountedCalls(const CountedCalls&) = delete;
  CountedCalls& operator=(const CountedCalls&) = delete;

  // The calls so far, by name: "poll 5 write 1".
  [[nodiscard]] std::string Text() const;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_COUNTED_CALLS_H
