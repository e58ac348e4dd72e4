#include <algorithm>
#include <cstdio>
#include <iterator>

#include <wkagent/filter.h>

#include "filter/code_table.h"
#include "filter/operation_codes.h"

using wkagent::EffectiveCondition;
using wkagent::kFirstCondition;
using wkagent::kFirstLoginOperation;

WKELAFilterStatement::WKELAFilterStatement() : allOperations(false), operations{}, conditions{} {}

WKELAFilterStatement::~WKELAFilterStatement() = default;

void WKELAFilterStatement::SetAllOpsFlag(bool on) { Change(allOperations, on); }

void WKELAFilterStatement::AddOperation(int operation, int condition) {
  wkagent::SetCode(operations, kFirstLoginOperation, operation);
  wkagent::SetCode(conditions, kFirstCondition, EffectiveCondition(condition));
  Changed();
}

void WKELAFilterStatement::ClearOperations() {
  std::fill(std::begin(operations), std::end(operations), 0);
  std::fill(std::begin(conditions), std::end(conditions), 0);
  Changed();
}

bool WKELAFilterStatement::PassStatement(int operation, int condition, char* user, char* node) {
  if (!enabled) return false;
  if (!allOperations) {
    if (!wkagent::IsCodeSet(operations, kFirstLoginOperation, operation)) return false;
    const int effective = EffectiveCondition(condition);
    if (!wkagent::IsCodeSet(conditions, kFirstCondition, effective)) return false;
  }
  return user != nullptr && PassStatement(user, node);
}

void WKELAFilterStatement::PrintfFilter() {
  std::puts("Start of Statement");
  WKFilterStatement::PrintfFilter();
  std::printf("Audited Operations: ");
  wkagent::PrintCodes(operations, kFirstLoginOperation);
  std::printf("Audited Operations - Conditions: ");
  wkagent::PrintCodes(conditions, kFirstCondition);
  std::puts("\nEnd of Statement");
}
