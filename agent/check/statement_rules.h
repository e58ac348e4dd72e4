#ifndef WKAGENT_AGENT_CHECK_STATEMENT_RULES_H
#define WKAGENT_AGENT_CHECK_STATEMENT_RULES_H

// What the two kinds of statements are made of, for the checks of what a statement covers.

#include <cstddef>
#include <span>

#include <wkagent/filter.h>

#include "agent/check/name_check.h"

namespace wkagent {

// A list of names with the flag that switches it off.
struct ListRule {
  const char* group;    // the element that bears the flag
  const char* flag;     // its attribute
  const char* entry;    // the element of an entry
  std::size_t longest;  // bytes of the event's field
  bool (*isAll)(WKFilterStatement&);
  NameForm form;
  bool absentPasses;  // an event without such a text is covered
};

struct StatementRules {
  std::span<const ListRule> lists;
  bool hasContext;
  bool (*coversAllOperations)(WKFilterStatement&);
  bool (*coversAnyOperation)(WKFilterStatement&);
  const char* operations;  // an Operation to write, for advice
};

extern const StatementRules kEdaStatementRules;
extern const StatementRules kElaStatementRules;

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_STATEMENT_RULES_H
