#include "agent/check/statement_check.h"

#include <algorithm>

#include "agent/check/alert_check.h"
#include "agent/check/time_window_check.h"
#include "agent/check/xml_element.h"
#include "config/xml_values.h"

namespace wkagent {
namespace {

void CheckEnabled(const StatementSource& source, CheckReport& report) {
  if (source.statement->IsEnabled()) return;
  report.Warning(
      LineOf(source.filter),
      source.name + " covers nothing, since Enabled is 0; write " + "Enabled=\"1\", or remove it");
}

void CheckAuditedContext(WKConfigFile& file, const StatementSource& source, CheckReport& report) {
  const auto context = AttributeText(file, source.filter, "Context");
  if (!context) return;
  report.Add(LineOf(source.filter), CheckContext(*context));
}

void CheckOperations(const StatementSource& source, const StatementRules& rules,
                     CheckReport& report) {
  const bool all = rules.coversAllOperations(*source.statement);
  const auto groups = ElementsNamed(source, "Operations");
  const auto entries = ElementsNamed(source, "Operation");
  if (all && !entries.empty()) {
    report.Warning(LineOf(entries.front()),
                   "the list of Operations is not looked at, since AllOperations is 1; write "
                   "AllOperations=\"0\", or remove the list");
  }
  if (all || rules.coversAnyOperation(*source.statement)) return;
  const std::string advice =
      std::string("; write <Operations AllOperations=\"1\"/>, or list ") + rules.operations;
  if (groups.empty()) {
    return report.Error(LineOf(source.filter),
                        source.name +
                            " has no Operations, so AllOperations counts as 0, and it "
                            "covers nothing" +
                            advice);
  }
  report.Error(LineOf(groups.back()), source.name + " covers nothing: AllOperations is 0 and no " +
                                          "known operation is listed" + advice);
}

// Operations and conditions are kept apart, so each listed operation is covered under each listed
// condition.
void CheckCombinations(WKConfigFile& file, const StatementSource& source, CheckReport& report) {
  constexpr int kFirstOperation = 21001;
  constexpr int kFirstCondition = 705;
  const auto& statement = static_cast<const WKELAFilterStatement&>(*source.statement);
  if (statement.allOperations) return;
  bool listed[2][3] = {};
  const auto entries = ElementsNamed(source, "Operation");
  for (xmlNode* const element : entries) {
    const int operation = ToInt(AttributeText(file, element, "EventId").value_or("").c_str());
    const int condition = ToInt(AttributeText(file, element, "Condition").value_or("").c_str());
    const int slot = condition <= 0 ? 0 : condition - kFirstCondition;
    if (operation != kFirstOperation && operation != kFirstOperation + 1) continue;
    if (slot >= 0 && slot < 3) listed[operation - kFirstOperation][slot] = true;
  }
  for (int operation = 0; operation < 2; ++operation) {
    for (int condition = 0; condition < 3; ++condition) {
      if (listed[operation][condition] || statement.operations[operation] == 0 ||
          statement.conditions[condition] == 0) {
        continue;
      }
      report.Warning(LineOf(entries.front()),
                     source.name + " also covers EventId " +
                         std::to_string(kFirstOperation + operation) + " under Condition " +
                         std::to_string(kFirstCondition + condition) +
                         ", since each operation is covered under each listed condition; write a "
                         "Filter for each");
    }
  }
}

}  // namespace

void CheckStatement(WKConfigFile& file, const StatementSource& source, const StatementRules& rules,
                    CheckReport& report) {
  CheckEnabled(source, report);
  CheckTimeWindow(file, source.filter, *source.statement, report);
  if (rules.hasContext) CheckAuditedContext(file, source, report);
  CheckOperations(source, rules, report);
  if (!rules.hasContext) CheckCombinations(file, source, report);
  for (const ListRule& rule : rules.lists) CheckList(file, source, rule, report);
  CheckAlerts(source, report);
}

bool DropsEverything(WKFilterStatement& statement, const StatementRules& rules) {
  if (!statement.IsEnabled() || !statement.IsExcluded() || !statement.allDay) return false;
  if (rules.hasContext && !static_cast<WKEDAFilterStatement&>(statement).allEDirectory)
    return false;
  return rules.coversAllOperations(statement) &&
         std::all_of(rules.lists.begin(), rules.lists.end(),
                     [&](const ListRule& rule) { return rule.isAll(statement); });
}

}  // namespace wkagent
