#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include <strings.h>

#include <wkagent/filter.h>

#include "core/printed_text.h"
#include "filter/code_table.h"
#include "filter/list_matcher.h"
#include "filter/object_name.h"
#include "filter/operation_codes.h"
#include "filter/statement_text.h"

using wkagent::kFirstDirectoryOperation;

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
  for (auto* matcher : {&objectMatcher_, &classMatcher_, &attributeMatcher_, &valueMatcher_}) {
    matcher->reset();
  }
  auditedContext.Reset();
  for (CLinkList* list : {&objects, &classes, &attributes, &values}) list->ClearList();
}

void WKEDAFilterStatement::SetAllOpsFlag(bool on) { Change(allOperations, on); }
void WKEDAFilterStatement::SetAuditSubContexts(bool on) { Change(auditSubContexts, on); }
void WKEDAFilterStatement::SetAllObjFlag(bool on) { Change(allObjects, on); }
void WKEDAFilterStatement::SetAllClassFlag(bool on) { Change(allClasses, on); }
void WKEDAFilterStatement::SetAllAttrFlag(bool on) { Change(allAttributes, on); }
void WKEDAFilterStatement::SetAllValueFlag(bool on) { Change(allValues, on); }

void WKEDAFilterStatement::SetAuditedContext(char* context) {
  if (context == nullptr) return;
  Changed();
  if (context[0] == '\0') {
    allEDirectory = true;
    auditedContext.Reset();
    return;
  }
  ConvertToNDAPFormat(context);
  auditedContext.Assign(context);
}

void WKEDAFilterStatement::ClearContext() {
  auditedContext.Reset();
  Changed();
}

void WKEDAFilterStatement::AddOperation(int code) {
  wkagent::SetCode(operations, kFirstDirectoryOperation, code);
  Changed();
}

void WKEDAFilterStatement::ClearOperations() {
  std::fill(std::begin(operations), std::end(operations), 0);
  Changed();
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

bool WKEDAFilterStatement::PassObject(char* name) {
  return wkagent::Occurs(objectMatcher_, objects, name);
}
bool WKEDAFilterStatement::PassClass(char* name) {
  return wkagent::Occurs(classMatcher_, classes, name);
}
bool WKEDAFilterStatement::PassAttr(char* name) {
  return name == nullptr || wkagent::Occurs(attributeMatcher_, attributes, name);
}
bool WKEDAFilterStatement::PassAttrValue(char* value) {
  return value == nullptr || wkagent::Occurs(valueMatcher_, values, value);
}

bool WKEDAFilterStatement::PassStatement(int operation, char* user, char* node, char* object,
                                         char* className, char* attribute, char* value) {
  if (!enabled) return false;
  if (!allOperations && !wkagent::IsCodeSet(operations, kFirstDirectoryOperation, operation))
    return false;
  if (user == nullptr || object == nullptr) return false;

  const wkagent::ObjectName name(object);
  // Only read there, and terminated.
  if (!allEDirectory && !PassContextCheck(const_cast<char*>(name.context.data()))) return false;
  if (!PassStatement(user, node)) return false;
  if (!allObjects && !wkagent::Occurs(objectMatcher_, objects, name.own)) return false;
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
  wkagent::PrintCodes(operations, kFirstDirectoryOperation);
  std::puts("\nEnd of Statement");
}
