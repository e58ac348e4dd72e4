#include <algorithm>
#include <cstdio>
#include <iterator>

#include <wkagent/filter.h>

#include "filter/code_table.h"

namespace {

constexpr int kFirstOperation = 21001;
constexpr int kFirstCondition = 705;

// A missing condition counts as the first one.
int EffectiveCondition(int condition) { return condition <= 0 ? kFirstCondition : condition; }

}  // namespace

WKELAFilterStatement::WKELAFilterStatement() : allOperations(false), operations{}, conditions{} {}

WKELAFilterStatement::~WKELAFilterStatement() = default;

void WKELAFilterStatement::SetAllOpsFlag(bool on) { allOperations = on; }

void WKELAFilterStatement::AddOperation(int operation, int condition) {
  wkagent::SetCode(operations, kFirstOperation, operation);
  wkagent::SetCode(conditions, kFirstCondition, EffectiveCondition(condition));
}

void WKELAFilterStatement::ClearOperations() {
  std::fill(std::begin(operations), std::end(operations), 0);
  std::fill(std::begin(conditions), std::end(conditions), 0);
}

bool WKELAFilterStatement::PassStatement(int operation, int condition, char* user, char* node) {
  if (!enabled) return false;
  if (!allOperations) {
    if (!wkagent::IsCodeSet(operations, kFirstOperation, operation)) return false;
    const int effective = EffectiveCondition(condition);
    if (!wkagent::IsCodeSet(conditions, kFirstCondition, effective)) return false;
  }
  return user != nullptr && PassStatement(user, node);
}

void WKELAFilterStatement::PrintfFilter() {
  std::puts("Start of Statement");
  WKFilterStatement::PrintfFilter();
  std::printf("Audited Operations: ");
  wkagent::PrintCodes(operations, kFirstOperation);
  std::printf("Audited Operations - Conditions: ");
  wkagent::PrintCodes(conditions, kFirstCondition);
  std::puts("\nEnd of Statement");
}
