// The main function of test programs for what uses fixed paths below /opt: cases run side by side,
// each in an /opt of its own.

#include <algorithm>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/private_opt.h"

namespace {

// The build asks for the cases, perhaps not as root.
bool OnlyLists(int argc, char** argv) {
  return std::any_of(argv, argv + argc, [](std::string_view argument) {
    return argument.starts_with("--gtest_list_tests");
  });
}

}  // namespace

int main(int argc, char** argv) {
  if (!OnlyLists(argc, argv)) wkagent::test::RunInPrivateOpt(argv);
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
