#ifndef WKAGENT_AGENT_CHECK_NAME_CHECK_H
#define WKAGENT_AGENT_CHECK_NAME_CHECK_H

// Names of a filter file that the filter will look for in vain.
//
// Names of events are dotted, as the feeds write them (Smith, John.sales.acme). A typed name of the
// filter file (CN=bob,OU=sales) is converted by simple rules, without escapes; where they make
// another name of it than the feeds do, it matches nothing.

#include <cstddef>
#include <optional>
#include <string>

#include "agent/check/check_report.h"
#include "agent/check/value_place.h"

namespace wkagent {

enum class NameForm {
  kDotted,   // the whole name of an object; typed names are converted
  kOwnName,  // its first component; typed names are converted
  kPlain,    // kept as written
  kValue,    // the same, and may be any text
};

// The name as a statement keeps it.
[[nodiscard]] std::string StoredName(NameForm form, const std::string& written);

// Why an entry of a list can match nothing that an event of the feeds holds in its field of
// `longest` bytes, if so. Entries that are stored as an empty text are for the check of the list.
[[nodiscard]] std::optional<Finding> CheckName(const ValuePlace& place, NameForm form,
                                               std::size_t longest, const std::string& written);

// The same for the audited container.
[[nodiscard]] std::optional<Finding> CheckContext(const std::string& written);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_NAME_CHECK_H
