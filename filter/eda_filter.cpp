#include <cstdio>
#include <typeinfo>

#include <wkagent/filter.h>

#include "filter/code_table.h"
#include "filter/decision.h"
#include "filter/object_name.h"
#include "filter/operation_codes.h"
#include "filter/read_statements.h"

namespace {

using wkagent::EventShape;
using Text = EventShape::Text;
using Missing = EventShape::Text::Missing;

wkagent::StatementShape Describe(WKFilterStatement& object) {
  auto& statement = static_cast<WKEDAFilterStatement&>(object);
  wkagent::StatementShape shape;
  shape.enabled = statement.enabled;
  shape.anyKey = statement.allOperations;
  shape.keys = wkagent::CodeBits(statement.operations);
  shape.isPlain = typeid(statement) == typeid(WKEDAFilterStatement);
  if (!shape.isPlain) return shape;
  shape.lists = {{{&statement.users, statement.allUsers},
                  {&statement.objects, statement.allObjects},
                  {&statement.classes, statement.allClasses},
                  {&statement.attributes, statement.allAttributes},
                  {&statement.values, statement.allValues},
                  {&statement.nodes, statement.allNodes}}};
  shape.anyContext = statement.allEDirectory;
  shape.subContexts = statement.auditSubContexts;
  shape.context = statement.auditedContext;
  return shape;
}

}  // namespace

WKEDAFilter::WKEDAFilter(char* fileName) : WKFilter(fileName) {
  if (ReadFilter() != 0) std::fprintf(stderr, "Error reading file %s\n", filterPath);
}

int WKEDAFilter::ReadFilter() { return ReadStatements<WKEdaConfig>(); }

bool WKEDAFilter::PassFilter(int operation, char* user, char* node, char* object, char* className,
                             char* attribute, char* value) {
  const auto covers = [&](WKEDAFilterStatement& statement) {
    return statement.PassStatement(operation, user, node, object, className, attribute, value);
  };
  const bool canBeCovered = user != nullptr && object != nullptr;
  wkagent::StatementIndex* const index = canBeCovered ? PreparedIndex(Describe) : nullptr;
  if (index == nullptr) return wkagent::DecideEvent<WKEDAFilterStatement>(*this, covers);

  const wkagent::ObjectName name(object);
  EventShape event;
  event.key = wkagent::PlaceOf(operation, wkagent::kFirstDirectoryOperation);
  event.context = name.context;
  event.texts = {Text(user, Missing::kFails),      Text(name.own),
                 Text(className, Missing::kFails), Text(attribute, Missing::kPasses),
                 Text(value, Missing::kPasses),    Text(node, Missing::kFails)};
  return wkagent::DecideIndexedEvent<WKEDAFilterStatement>(*this, *index, event, covers);
}

void WKEDAFilter::PrintFilter() { PrintStatements(); }
