#ifndef WKAGENT_BENCHMARKS_FILTER_NAMES_H
#define WKAGENT_BENCHMARKS_FILTER_NAMES_H

#include <random>
#include <string>
#include <vector>

namespace wkagent::bench {

// Dotted names of 20 to 60 characters, as a directory has them: a person, one to four containers.
class Names {
 public:
  std::string Name() {
    static const std::vector<std::string> kContainers = {
        "sales", "engineering", "support", "emea", "berlin", "people", "partners", "finance"};
    std::string name = Person();
    while (name.size() < 15 || Below(3) != 0) {
      const std::string& container = kContainers[Below(kContainers.size())];
      if (name.size() + container.size() > 54) break;
      name += '.' + container;
    }
    return name + ".acme";
  }

  std::string Person() {
    static const std::vector<std::string> kFirst = {"anna",  "bob",  "carol", "dave",   "erika",
                                                    "frank", "grit", "heinz", "ingrid", "jorge"};
    static const std::vector<std::string> kLast = {"smith", "mueller", "garcia", "rossi",
                                                   "nowak", "jensen",  "dubois", "silva"};
    return kFirst[Below(kFirst.size())] + kLast[Below(kLast.size())] +
           std::to_string(Below(100'000));
  }

  std::size_t Below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
  }

 private:
  std::mt19937 random_{4711};
};

}  // namespace wkagent::bench

#endif  // WKAGENT_BENCHMARKS_FILTER_NAMES_H
