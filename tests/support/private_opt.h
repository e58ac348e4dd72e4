#ifndef WKAGENT_TESTS_SUPPORT_PRIVATE_OPT_H
#define WKAGENT_TESTS_SUPPORT_PRIVATE_OPT_H

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <system_error>

#include <unistd.h>

#include "support/private_root.h"

namespace wkagent::test {

inline constexpr char kPrivateOptMarker[] = "WKAGENT_TEST_PRIVATE_OPT";

[[noreturn]] inline void RunAgainInPrivateOpt(char** argv) {
  EnterPrivateRoot();
  std::filesystem::create_directory("/opt");
  MountTmpfs("/opt", "mode=755");
  for (const char* folder : {"config", "log", "auditdata"}) {
    std::filesystem::create_directories(std::filesystem::path("/opt/mossgrove") / folder);
  }
  setenv(kPrivateOptMarker, "1", 1);
  execv("/proc/self/exe", argv);
  throw std::system_error(errno, std::generic_category(), "execv");
}

// Runs the program again in a mount namespace of its own, with an empty /opt/mossgrove, unless that
// has been done: so nobody else sees these files, and what the library opens when it is loaded lies
// there, too. Ends the program where it cannot be done.
inline void RunInPrivateOpt(char** argv) {
  if (std::getenv(kPrivateOptMarker) != nullptr) return;
  try {
    RunAgainInPrivateOpt(argv);
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    std::exit(EXIT_FAILURE);
  }
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_PRIVATE_OPT_H
