// The main function of test programs for what uses fixed paths below /opt. It runs the program
// again in a mount namespace of its own, with an empty /opt/mossgrove: so nobody else sees these
// files, cases run side by side, and what the library opens when it is loaded lies there, too.

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string_view>
#include <system_error>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/private_root.h"

namespace {

constexpr char kMarker[] = "WKAGENT_TEST_PRIVATE_OPT";

// The build asks for the cases, perhaps not as root.
bool OnlyLists(int argc, char** argv) {
  return std::any_of(argv, argv + argc, [](std::string_view argument) {
    return argument.starts_with("--gtest_list_tests");
  });
}

[[noreturn]] void RunInPrivateOpt(char** argv) {
  wkagent::test::EnterPrivateRoot();
  std::filesystem::create_directory("/opt");
  wkagent::test::MountTmpfs("/opt", "mode=755");
  for (const char* folder : {"config", "log", "auditdata"}) {
    std::filesystem::create_directories(std::filesystem::path("/opt/mossgrove") / folder);
  }
  setenv(kMarker, "1", 1);
  execv("/proc/self/exe", argv);
  throw std::system_error(errno, std::generic_category(), "execv");
}

}  // namespace

int main(int argc, char** argv) {
  if (!OnlyLists(argc, argv) && std::getenv(kMarker) == nullptr) {
    try {
      RunInPrivateOpt(argv);
    } catch (const std::exception& error) {
      std::cerr << error.what() << '\n';
      return EXIT_FAILURE;
    }
  }
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
