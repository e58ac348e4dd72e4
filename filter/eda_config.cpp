#include <wkagent/filter.h>

#include "filter/filter_elements.h"

namespace {

using Statement = WKEDAFilterStatement;

constexpr wkagent::FlagElement<Statement> kFlags[] = {
    {"Operations", "AllOperations", &Statement::SetAllOpsFlag},
    {"Users", "AllUsers", &Statement::SetAllUserFlag},
    {"Objects", "AllObjects", &Statement::SetAllObjFlag},
    {"Classes", "AllClasses", &Statement::SetAllClassFlag},
    {"Attributes", "AllAttributes", &Statement::SetAllAttrFlag},
    {"AttributeValues", "AllAttributeValues", &Statement::SetAllValueFlag},
    {"Action", "ExcludeAlert", &Statement::SetExcludeAlert},
    {"SNMP", "Alert", &Statement::SetSNMPAlert},
    {"SysLog", "Alert", &Statement::SetSyslogAlert},
};

constexpr wkagent::TextElement<Statement> kTexts[] = {
    {"User", "Name", &Statement::AddUser},
    {"Object", "Name", &Statement::AddObject},
    {"Class", "Name", &Statement::AddClass},
    {"Attribute", "Name", &Statement::AddAttr},
    {"AttributeValue", "Name", &Statement::AddAttrValue},
};

constexpr wkagent::FilterGrammar<WKEdaConfig, Statement> kGrammar = {
    &WKEdaConfig::GetEDAFilterDetails, &WKEdaConfig::GetEDAOperations, &WKEdaConfig::GetSMTPDetails,
    kFlags, kTexts};

}  // namespace

WKEdaConfig::WKEdaConfig() : currentStatement(nullptr) {}

WKEdaConfig::~WKEdaConfig() { wkagent::ReleaseOwnStatements(list, handedOver_); }

int WKEdaConfig::ReadFile(char* path) {
  wkagent::ReleaseOwnStatements(list, handedOver_);
  currentStatement = nullptr;
  const int result = WKConfigFile::ReadFile(path);
  if (result == 0) MapEDADatatoObject(GetXMLRootNode());
  return result;
}

void WKEdaConfig::MapEDADatatoObject(_xmlNode* element) {
  wkagent::ReadElements(*this, element, kGrammar);
}

void WKEdaConfig::GetEDAFilterDetails(_xmlNode* element) {
  currentStatement = wkagent::BeginStatement<Statement>(*this);
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
  wkagent::HandOverStatements(list, handedOver_, out);
  currentStatement = nullptr;  // its new owner may release it at any time
}
