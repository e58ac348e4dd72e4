#ifndef WKAGENT_TESTS_SUPPORT_SET_CLOCK_H
#define WKAGENT_TESTS_SUPPORT_SET_CLOCK_H

#include <cstdint>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace wkagent::test {

// A time of day that the test sets, for programs that it starts. Test programs that use it are
// built with WKAGENT_CLOCK, the path of the library made of clock_preload.cpp.
class SetClock {
 public:
  // Keeps its file at this path.
  explicit SetClock(std::string path) : path_(std::move(path)) { Set(0); }

  // A command that runs the program by this clock.
  [[nodiscard]] std::vector<std::string> WithClock(const std::vector<std::string>& command) const {
    std::vector<std::string> all = {"env", "LD_PRELOAD=" WKAGENT_CLOCK,
                                    "ASAN_OPTIONS=verify_asan_link_order=0",
                                    "WKAGENT_TEST_CLOCK=" + path_};
    all.insert(all.end(), command.begin(), command.end());
    return all;
  }

  // Sets it to the system's time and so many seconds.
  void Set(std::int64_t seconds) const {
    std::fstream file(path_, std::ios::binary | std::ios::in | std::ios::out);
    if (!file.is_open()) file.open(path_, std::ios::binary | std::ios::out);
    file.write(reinterpret_cast<const char*>(&seconds), sizeof(seconds));
  }

 private:
  const std::string path_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_SET_CLOCK_H
