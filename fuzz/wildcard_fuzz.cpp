// A pattern, a zero byte, a name.

#include "monitor/wildcard.h"

#include <vector>

#include "fuzz/fuzz.h"

namespace {

// Which beginnings of the name each beginning of the pattern matches.
bool NaiveMatch(const std::string& pattern, const std::string& name) {
  std::vector<bool> matches(name.size() + 1, false);
  matches[0] = true;
  for (const char c : pattern) {
    std::vector<bool> next(name.size() + 1, false);
    bool any = false;
    for (std::size_t i = 0; i <= name.size(); ++i) {
      any = any || matches[i];
      if (c == '*') next[i] = any;
      if (c != '*' && i > 0) next[i] = matches[i - 1] && (c == '?' || c == name[i - 1]);
    }
    matches = next;
  }
  return matches.back();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  Parts parts(data, size);
  const std::string pattern = parts.Next();
  const std::string name = parts.Next();
  Require(wkagent::MatchesWildcard(pattern.c_str(), name.c_str()) == NaiveMatch(pattern, name),
          "a name matches or not");
  Require(wkagent::MatchesWildcard(name.c_str(), name.c_str()), "a name matches itself");
  return 0;
}
