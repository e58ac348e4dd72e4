#ifndef WKAGENT_AGENT_CHECK_VALUE_RULES_H
#define WKAGENT_AGENT_CHECK_VALUE_RULES_H

#include <cstddef>
#include <limits>
#include <optional>
#include <string>

#include "agent/check/check_report.h"
#include "agent/check/value_place.h"

namespace wkagent {

enum class ValueKind {
  kUnchecked,     // any text, or one that is checked elsewhere
  kFlag,          // 0 or 1
  kNumber,        // from `least` to `most`
  kCode,          // the same, where others are ignored
  kCondition,     // the same; 0 and below count as `least`
  kUnused,        // a number that nothing looks at
  kText,          // up to `longest` bytes
  kHost,          // the same: a machine's name or address
  kShareVersion,  // the same: what follows "vers="
  kSecret,        // the same, and no message quotes it
};

// What a value may be. `example` is what to write, or, for codes, which codes there are.
struct ValueRule {
  ValueKind kind = ValueKind::kUnchecked;
  const char* example = "";
  long least = 0;
  long most = std::numeric_limits<int>::max();
  std::size_t longest = 0;
};

// What is wrong with the text of a value, if anything.
[[nodiscard]] std::optional<Finding> CheckValue(const ValuePlace& place, const ValueRule& rule,
                                                const std::string& text);

// What the reader takes for a value that is not there.
[[nodiscard]] const char* MissingValue(const ValueRule& rule);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_VALUE_RULES_H
