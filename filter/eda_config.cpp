#include <memory>

#include <wkagent/filter.h>

#include "config/xml_walk.h"
#include "filter/filter_elements.h"
#include "filter/pointer_list.h"

namespace {

// An element whose one attribute is handed to one setter of the current statement.
struct FlagElement {
  const char* name;
  const char* attribute;
  void (WKEDAFilterStatement::*set)(bool);
};
struct TextElement {
  const char* name;
  const char* attribute;
  void (WKEDAFilterStatement::*add)(char*);
};

constexpr FlagElement kFlagElements[] = {
    {"Operations", "AllOperations", &WKEDAFilterStatement::SetAllOpsFlag},
    {"Objects", "AllObjects", &WKEDAFilterStatement::SetAllObjFlag},
    {"Classes", "AllClasses", &WKEDAFilterStatement::SetAllClassFlag},
    {"Attributes", "AllAttributes", &WKEDAFilterStatement::SetAllAttrFlag},
    {"AttributeValues", "AllAttributeValues", &WKEDAFilterStatement::SetAllValueFlag},
};

constexpr TextElement kTextElements[] = {
    {"Object", "Name", &WKEDAFilterStatement::AddObject},
    {"Class", "Name", &WKEDAFilterStatement::AddClass},
    {"Attribute", "Name", &WKEDAFilterStatement::AddAttr},
    {"AttributeValue", "Name", &WKEDAFilterStatement::AddAttrValue},
};

}  // namespace

WKEdaConfig::WKEdaConfig() : currentStatement(nullptr) {}

WKEdaConfig::~WKEdaConfig() { ReleaseStatements(); }

int WKEdaConfig::ReadFile(char* path) {
  ReleaseStatements();
  const int result = WKConfigFile::ReadFile(path);
  if (result == 0) MapEDADatatoObject(GetXMLRootNode());
  return result;
}

void WKEdaConfig::MapEDADatatoObject(_xmlNode* element) {
  wkagent::WalkElements(element, [this](_xmlNode* node) {
    if (wkagent::HasName(node, "Filter")) return GetEDAFilterDetails(node);
    if (currentStatement == nullptr) return;
    WKEDAFilterStatement& statement = *currentStatement;
    if (wkagent::HasName(node, "Operation")) return GetEDAOperations(node);
    if (wkagent::HasName(node, "SMTP")) return GetSMTPDetails(node);
    if (wkagent::ReadCommonElement(*this, node, statement)) return;
    for (const FlagElement& entry : kFlagElements) {
      if (!wkagent::HasName(node, entry.name)) continue;
      (statement.*entry.set)(wkagent::ReadFlag(*this, node, entry.attribute));
    }
    for (const TextElement& entry : kTextElements) {
      if (!wkagent::HasName(node, entry.name)) continue;
      (statement.*entry.add)(wkagent::ReadText(*this, node, entry.attribute));
    }
  });
}

void WKEdaConfig::GetEDAFilterDetails(_xmlNode* element) {
  auto statement = std::make_unique<WKEDAFilterStatement>();
  statement->InitializeLogMessage(logCallback);
  currentStatement = statement.release();
  list.AddNode(&currentStatement, sizeof(currentStatement));

  wkagent::ReadFilterElement(*this, element, *currentStatement);
  currentStatement->SetAuditedContext(wkagent::ReadText(*this, element, "Context"));
  currentStatement->SetAuditSubContexts(wkagent::ReadFlag(*this, element, "IncludeSubContainers"));
}

void WKEdaConfig::GetEDAOperations(_xmlNode* element) {
  if (currentStatement == nullptr) return;
  currentStatement->AddOperation(wkagent::ReadNumber(*this, element, "EventId"));
}

void WKEdaConfig::GetSMTPDetails(_xmlNode* element) {
  if (currentStatement == nullptr) return;
  wkagent::ReadSmtpElement(*this, element, *currentStatement);
}

void WKEdaConfig::GetFilterStatements(CLinkList& out) {
  wkagent::ForEachObject<WKEDAFilterStatement>(
      list, [&](WKEDAFilterStatement* statement) { out.AddNode(&statement, sizeof(statement)); });
  handedOver_ = list.GetCount();
  currentStatement = nullptr;  // its new owner may release it at any time
}

void WKEdaConfig::ReleaseStatements() {
  // The first `handedOver_` statements belong to their new owner.
  for (; handedOver_ > 0; --handedOver_) list.FreeNode(list.GetHeadListNode());
  wkagent::ReleaseStatements(list);
  currentStatement = nullptr;
}
