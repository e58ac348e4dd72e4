#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>

#include <strings.h>

#include <wkagent/filter.h>

#include "core/printed_text.h"
#include "filter/code_table.h"
#include "filter/entity_match.h"
#include "filter/statement_text.h"

namespace {

constexpr int kFirstOperation = 20001;

}  // namespace

WKEDAFilterStatement::WKEDAFilterStatement()
    : allEDirectory(false),
      auditSubContexts(false),
      allObjects(false),
      allClasses(false),
      allAttributes(false),
      allValues(false),
      operations{},
      allOperations(false) {
  allNodes = true;
}

WKEDAFilterStatement::~WKEDAFilterStatement() = default;

void WKEDAFilterStatement::ReleaseOwned() {
  WKFilterStatement::ReleaseOwned();
  auditedContext.Reset();
  for (CLinkList* list : {&objects, &classes, &attributes, &values}) list->ClearList();
}

void WKEDAFilterStatement::SetAllOpsFlag(bool on) { allOperations = on; }
void WKEDAFilterStatement::SetAuditSubContexts(bool on) { auditSubContexts = on; }
void WKEDAFilterStatement::SetAllObjFlag(bool on) { allObjects = on; }
void WKEDAFilterStatement::SetAllClassFlag(bool on) { allClasses = on; }
void WKEDAFilterStatement::SetAllAttrFlag(bool on) { allAttributes = on; }
void WKEDAFilterStatement::SetAllValueFlag(bool on) { allValues = on; }

void WKEDAFilterStatement::SetAuditedContext(char* context) {
  if (context == nullptr) return;
  if (context[0] == '\0') {
    allEDirectory = true;
    auditedContext.Reset();
    return;
  }
  ConvertToNDAPFormat(context);
  auditedContext.Assign(context);
}

void WKEDAFilterStatement::ClearContext() { auditedContext.Reset(); }

void WKEDAFilterStatement::AddOperation(int code) {
  wkagent::SetCode(operations, kFirstOperation, code);
}

void WKEDAFilterStatement::ClearOperations() {
  std::fill(std::begin(operations), std::end(operations), 0);
}

void WKEDAFilterStatement::AddObject(char* name) {
  ConvertToNDAPFormat(name);
  wkagent::AddText(objects, name);
}
void WKEDAFilterStatement::AddClass(char* name) { wkagent::AddText(classes, name); }
void WKEDAFilterStatement::AddAttr(char* name) { wkagent::AddText(attributes, name); }
void WKEDAFilterStatement::AddAttrValue(char* value) { wkagent::AddText(values, value); }

bool WKEDAFilterStatement::PassContextCheck(char* context) {
  if (context == nullptr || auditedContext == nullptr) return false;
  if (auditSubContexts) return std::strstr(context, auditedContext) != nullptr;
  return strcasecmp(context, auditedContext) == 0;
}

bool WKEDAFilterStatement::PassObject(char* name) { return EntityMatch(name, objects); }
bool WKEDAFilterStatement::PassClass(char* name) { return EntityMatch(name, classes); }
bool WKEDAFilterStatement::PassAttr(char* name) {
  return name == nullptr || EntityMatch(name, attributes);
}
bool WKEDAFilterStatement::PassAttrValue(char* value) {
  return value == nullptr || EntityMatch(value, values);
}

bool WKEDAFilterStatement::PassStatement(int operation, char* user, char* node, char* object,
                                         char* className, char* attribute, char* value) {
  if (!enabled) return false;
  if (!allOperations && !wkagent::IsCodeSet(operations, kFirstOperation, operation)) return false;
  if (user == nullptr || object == nullptr) return false;

  char root[] = "[Root]";
  char* const dot = std::strchr(object, '.');
  const std::string_view ownName(
      object, dot == nullptr ? std::strlen(object) : static_cast<std::size_t>(dot - object));
  if (!allEDirectory && !PassContextCheck(dot == nullptr ? root : dot + 1)) return false;
  if (!PassStatement(user, node)) return false;
  if (!allObjects && !wkagent::EntityOccurs(ownName, objects)) return false;
  if (!allClasses && !PassClass(className)) return false;
  if (!allAttributes && !PassAttr(attribute)) return false;
  return allValues || PassAttrValue(value);
}

void WKEDAFilterStatement::PrintfFilter() {
  std::puts("Start of Statement");
  WKFilterStatement::PrintfFilter();
  std::printf("All eDirectory: %d\n", allEDirectory);
  std::printf("Audited Context: %s\n", wkagent::TextOrEmpty(auditedContext));
  std::printf("All Objects = %d\n", allObjects);
  std::printf("Object List: ");
  PrintLinkedList(objects);
  std::printf("All Classes = %d\n", allClasses);
  std::printf("Class List: ");
  PrintLinkedList(classes);
  std::printf("All Attributes = %d\n", allAttributes);
  std::printf("Attributes List: ");
  PrintLinkedList(attributes);
  std::printf("All Values = %d\n", allValues);
  std::printf("Values List: ");
  PrintLinkedList(values);
  std::printf("All Operations %d\n", allOperations);
  std::printf("Audited Operations: ");
  wkagent::PrintCodes(operations, kFirstOperation);
  std::puts("\nEnd of Statement");
}
