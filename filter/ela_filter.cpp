#include <cstdio>
#include <type_traits>
#include <typeinfo>

#include <wkagent/filter.h>

#include "core/bounded_copy.h"
#include "filter/code_table.h"
#include "filter/decision.h"
#include "filter/operation_codes.h"
#include "filter/read_statements.h"

namespace {

using wkagent::EventShape;
using Text = EventShape::Text;
using Missing = EventShape::Text::Missing;

constexpr int kConditions = std::extent_v<decltype(WKELAFilterStatement::conditions)>;
constexpr int kOperations = std::extent_v<decltype(WKELAFilterStatement::operations)>;

// A number for each pair of operation and condition, -1 where either has no flag.
int KeyOf(int operation, int condition) {
  const int first = wkagent::PlaceOf(operation, wkagent::kFirstLoginOperation);
  const int second =
      wkagent::PlaceOf(wkagent::EffectiveCondition(condition), wkagent::kFirstCondition);
  const bool hasFlags = first >= 0 && first < kOperations && second >= 0 && second < kConditions;
  return hasFlags ? first * kConditions + second : -1;
}

wkagent::StatementShape Describe(WKFilterStatement& object) {
  auto& statement = static_cast<WKELAFilterStatement&>(object);
  wkagent::StatementShape shape;
  shape.enabled = statement.enabled;
  shape.anyKey = statement.allOperations;
  const std::uint32_t conditions = wkagent::CodeBits(statement.conditions);
  for (int i = 0; i < kOperations; ++i) {
    if (statement.operations[i] != 0) shape.keys |= conditions << i * kConditions;
  }
  shape.isPlain = typeid(statement) == typeid(WKELAFilterStatement);
  if (!shape.isPlain) return shape;
  shape.lists[0] = {&statement.users, statement.allUsers};
  shape.lists[1] = {&statement.nodes, statement.allNodes};
  return shape;
}

}  // namespace

WKELAFilter::WKELAFilter(char* fileName) : WKFilter(fileName) {
  if (ReadFilter() != 0) std::fprintf(stderr, "Error reading file %s\n", filterPath);
}

int WKELAFilter::ReadFilter() {
  if (ReadStatements<WKElaConfig>() == 0) return 0;
  wkagent::FormatBounded(message, "Cannot read config file %s\n", filterPath);
  LogStatus(message);
  return 1;
}

bool WKELAFilter::PassFilter(int operation, int condition, char* user, char* node) {
  const auto covers = [&](WKELAFilterStatement& statement) {
    return statement.PassStatement(operation, condition, user, node);
  };
  wkagent::StatementIndex* const index = user != nullptr ? PreparedIndex(Describe) : nullptr;
  if (index == nullptr) return wkagent::DecideEvent<WKELAFilterStatement>(*this, covers);

  EventShape event;
  event.key = KeyOf(operation, condition);
  event.texts[0] = Text(user, Missing::kFails);
  event.texts[1] = Text(node, Missing::kFails);
  return wkagent::DecideIndexedEvent<WKELAFilterStatement>(*this, *index, event, covers);
}

void WKELAFilter::PrintFilter() { PrintStatements(); }
