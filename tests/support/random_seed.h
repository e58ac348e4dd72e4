#ifndef WKAGENT_TESTS_SUPPORT_RANDOM_SEED_H
#define WKAGENT_TESTS_SUPPORT_RANDOM_SEED_H

#include <cstdio>
#include <cstdlib>
#include <random>

namespace wkagent::test {

// A fresh seed, printed so that a failure can be repeated with WKAGENT_TEST_SEED=<seed>.
inline unsigned RandomSeed() {
  const char* const given = std::getenv("WKAGENT_TEST_SEED");
  const unsigned seed = given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10))
                                         : std::random_device{}();
  std::printf("WKAGENT_TEST_SEED=%u\n", seed);
  return seed;
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_RANDOM_SEED_H
