#include <wkagent/filter.h>

#include "filter/filter_elements.h"

namespace {

using Statement = WKELAFilterStatement;

constexpr wkagent::FlagElement<Statement> kFlags[] = {
    {"Operations", "AllOperations", &Statement::SetAllOpsFlag},
    {"Users", "AllUsers", &Statement::SetAllUserFlag},
    {"Nodes", "AllNodes", &Statement::SetAllNodeFlag},
    {"Action", "ExcludeAlert", &Statement::SetExcludeAlert},
    {"SNMP", "Alert", &Statement::SetSNMPAlert},
    {"SysLog", "Alert", &Statement::SetSyslogAlert},
};

constexpr wkagent::TextElement<Statement> kTexts[] = {
    {"User", "Name", &Statement::AddUser},
    {"Node", "Name", &Statement::AddNode},
};

constexpr wkagent::FilterGrammar<WKElaConfig, Statement> kGrammar = {
    &WKElaConfig::GetELAFilterDetails, &WKElaConfig::GetELAOperations, &WKElaConfig::GetSMTPDetails,
    kFlags, kTexts};

}  // namespace

WKElaConfig::WKElaConfig() : currentStatement(nullptr) {}

WKElaConfig::~WKElaConfig() { wkagent::ReleaseOwnStatements(list, handedOver_); }

int WKElaConfig::ReadFile(char* path) {
  wkagent::ReleaseOwnStatements(list, handedOver_);
  currentStatement = nullptr;
  const int result = WKConfigFile::ReadFile(path);
  if (result == 0) MapELADatatoObject(GetXMLRootNode());
  return result;
}

void WKElaConfig::MapELADatatoObject(_xmlNode* element) {
  wkagent::ReadElements(*this, element, kGrammar);
}

void WKElaConfig::GetELAFilterDetails(_xmlNode* element) {
  currentStatement = wkagent::BeginStatement<Statement>(*this);
  wkagent::ReadFilterElement(*this, element, *currentStatement);
}

void WKElaConfig::GetELAOperations(_xmlNode* element) {
  if (currentStatement == nullptr) return;
  const int operation = wkagent::ReadNumber(*this, element, "EventId");
  currentStatement->AddOperation(operation, wkagent::ReadNumber(*this, element, "Condition"));
}

void WKElaConfig::GetSMTPDetails(_xmlNode* element) {
  if (currentStatement == nullptr) return;
  wkagent::ReadSmtpElement(*this, element, *currentStatement);
}

void WKElaConfig::GetFilterStatements(CLinkList& out) {
  wkagent::HandOverStatements(list, handedOver_, out);
  currentStatement = nullptr;  // its new owner may release it at any time
}
