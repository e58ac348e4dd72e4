#ifndef WKAGENT_TESTS_SUPPORT_PRINTED_H
#define WKAGENT_TESTS_SUPPORT_PRINTED_H

#include <string>

#include <gtest/gtest.h>

namespace wkagent::test {

// What `act` writes to standard output.
template <typename Act>
std::string Printed(Act act) {
  ::testing::internal::CaptureStdout();
  act();
  return ::testing::internal::GetCapturedStdout();
}

// What `act` writes to standard error.
template <typename Act>
std::string Complaints(Act act) {
  ::testing::internal::CaptureStderr();
  act();
  return ::testing::internal::GetCapturedStderr();
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_PRINTED_H
