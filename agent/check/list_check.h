#ifndef WKAGENT_AGENT_CHECK_LIST_CHECK_H
#define WKAGENT_AGENT_CHECK_LIST_CHECK_H

#include <string>
#include <vector>

#include "agent/check/check_report.h"
#include "agent/check/statement_rules.h"

struct _xmlNode;

namespace wkagent {

// A statement and where its parts stand.
struct StatementSource {
  WKFilterStatement* statement;
  _xmlNode* filter;                 // its Filter element
  std::vector<_xmlNode*> elements;  // those that configure it
  std::string name;                 // Filter "TITLE"
};

// The elements of a statement that bear a name.
[[nodiscard]] std::vector<_xmlNode*> ElementsNamed(const StatementSource& source,
                                                   std::string_view name);

// Checks one list of a statement: its entries, and whether it covers anything.
void CheckList(WKConfigFile& file, const StatementSource& source, const ListRule& rule,
               CheckReport& report);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_LIST_CHECK_H
