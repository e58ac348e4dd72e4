#include "agent/check/filter_check.h"

#include <algorithm>
#include <vector>

#include <wkagent/filter.h>

#include "agent/check/document_check.h"
#include "agent/check/read_check.h"
#include "agent/check/statement_check.h"
#include "agent/check/xml_element.h"
#include "config/xml_walk.h"
#include "filter/pointer_list.h"

namespace wkagent {
namespace {

// The statements that a reader has built, each with its elements: those from its Filter element to
// before the next one.
std::vector<StatementSource> Sources(WKConfigFile& reader) {
  std::vector<WKFilterStatement*> statements;
  ForEachObject<WKFilterStatement>(
      reader.list, [&](WKFilterStatement* statement) { statements.push_back(statement); });
  std::vector<StatementSource> sources;
  WalkElements(reader.GetXMLRootNode(), [&](xmlNode* element) {
    if (ElementName(element) == kFilterElement) {
      WKFilterStatement* const statement = statements.at(sources.size());
      const char* const title = statement->title;
      sources.push_back({statement, element, {}, "Filter " + Quote(title == nullptr ? "" : title)});
    } else if (!sources.empty()) {
      sources.back().elements.push_back(element);
    }
  });
  return sources;
}

// What becomes of all events, whatever the single statements say.
void CheckTogether(const std::vector<StatementSource>& sources, const StatementRules& rules,
                   CheckReport& report) {
  if (sources.empty()) {
    return report.Error(0,
                        "it has no Filter element, so every event is dropped; write one for what "
                        "is to be kept");
  }
  for (const StatementSource& source : sources) {
    if (!DropsEverything(*source.statement, rules)) continue;
    report.Error(LineOf(source.filter), source.name +
                                            " drops every event, whatever the others "
                                            "keep; write IncludeExclude=\"1\", or say "
                                            "what is to be dropped");
  }
  const bool keeps = std::any_of(sources.begin(), sources.end(), [](const StatementSource& source) {
    return source.statement->IsEnabled() && !source.statement->IsExcluded();
  });
  if (keeps) return;
  report.Error(0,
               "no enabled Filter includes anything, so every event is dropped; write one with "
               "IncludeExclude=\"1\" Enabled=\"1\"");
}

template <typename Reader>
void CheckFilter(const DocumentRules& document, const StatementRules& rules, CheckReport& report) {
  Reader reader;
  if (!ReadForCheck(reader, ParserWords::kQuoted, report)) return;
  const std::vector<StatementSource> sources = Sources(reader);
  for (const StatementSource& source : sources) source.statement->PrintfFilter();
  report.Note(0, "above, operations and conditions are printed as their codes minus 1");
  CheckDocument(reader, document, report);
  for (const StatementSource& source : sources) CheckStatement(reader, source, rules, report);
  CheckTogether(sources, rules, report);
}

}  // namespace

void CheckEdaFilter(CheckReport& report) {
  CheckFilter<WKEdaConfig>(kEdaFilterRules, kEdaStatementRules, report);
}

void CheckElaFilter(CheckReport& report) {
  CheckFilter<WKElaConfig>(kElaFilterRules, kElaStatementRules, report);
}

}  // namespace wkagent
