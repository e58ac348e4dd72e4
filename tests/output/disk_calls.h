#ifndef WKAGENT_TESTS_OUTPUT_DISK_CALLS_H
#define WKAGENT_TESTS_OUTPUT_DISK_CALLS_H

#include <string>
#include <vector>

namespace wkagent::test {

// Notes, while it lives, what this program's own objects ask of the disk: "fdatasync live.xml",
// "fsync outbox", "rename live.xml to EDA20261115082205.xml". For programs that are made of the
// library's objects and built with output/disk_calls.cpp. One at a time.
class DiskCalls {
 public:
  DiskCalls();
  ~DiskCalls();
  DiskCalls(const DiskCalls&) = delete;
  DiskCalls& operator=(const DiskCalls&) = delete;

  // The calls since the last Take, oldest first.
  [[nodiscard]] std::vector<std::string> Take();

  // From now on every fdatasync, or every fsync, fails with this errno; 0 for none.
  void FailContents(int error);
  void FailNames(int error);
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_OUTPUT_DISK_CALLS_H
