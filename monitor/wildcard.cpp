#include "monitor/wildcard.h"

namespace wkagent {

bool MatchesWildcard(const char* pattern, const char* name) {
  if (pattern == nullptr || name == nullptr) return false;
  // After a "*": where matching resumes in the pattern, and from which character of the name on.
  // Only the last "*" needs to be tried again: what an earlier one could take, this one can too.
  const char* afterStar = nullptr;
  const char* resume = nullptr;
  while (*name != '\0') {
    if (*pattern == '*') {
      afterStar = ++pattern;
      resume = name;
      if (*pattern == '\0') return true;
    } else if (*pattern == '?' || *pattern == *name) {
      ++pattern;
      ++name;
    } else if (afterStar != nullptr) {
      pattern = afterStar;
      name = ++resume;
    } else {
      return false;
    }
  }
  while (*pattern == '*') ++pattern;
  return *pattern == '\0';
}

}  // namespace wkagent
