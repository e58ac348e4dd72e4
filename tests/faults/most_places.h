#ifndef WKAGENT_TESTS_FAULTS_MOST_PLACES_H
#define WKAGENT_TESTS_FAULTS_MOST_PLACES_H

#include <algorithm>
#include <cstdlib>
#include <string>

#include "support/sanitized.h"

namespace wkagent::test {

// The number of places at which a call fails, of which there may be thousands: `usual`, or fewer in
// a program that is slow. WKAGENT_TORTURE is another number, or "all".
[[nodiscard]] inline long MostPlaces(long usual) {
  if (const char* const wanted = std::getenv("WKAGENT_TORTURE")) {
    return std::string(wanted) == "all" ? 1'000'000 : std::max(1L, std::atol(wanted));
  }
#ifdef WKAGENT_TEST_SANITIZED
  return std::min(usual, 10L);
#else
  return usual;
#endif
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_FAULTS_MOST_PLACES_H
