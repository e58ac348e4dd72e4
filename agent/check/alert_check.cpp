#include "agent/check/alert_check.h"

#include <string_view>

#include "agent/check/xml_element.h"

namespace wkagent {
namespace {

bool IsEmpty(const char* text) { return text == nullptr || WithoutBlanks(text).empty(); }

// The line of the last element of the name, or else of the Filter.
long LineOfPart(const StatementSource& source, const char* name) {
  const auto elements = ElementsNamed(source, name);
  return LineOf(elements.empty() ? source.filter : elements.back());
}

void CheckMail(const StatementSource& source, CheckReport& report) {
  WKSMTPAlertObject& mail = source.statement->smtpAlert;
  if (!mail.IsSMTPAlertActive()) return;
  const long line = LineOfPart(source, "SMTP");
  if (IsEmpty(mail.GetTo()) && IsEmpty(mail.GetCC())) {
    report.Error(line,
                 "SMTP Alert is 1, but To and Cc are empty, so the mail reaches nobody; write "
                 "To=\"security@acme.example\", or Alert=\"0\"");
  }
  if (IsEmpty(mail.GetFrom())) {
    report.Warning(line,
                   "SMTP Alert is 1, but From is empty, so the mail bears a default sender; "
                   "write From=\"agent@acme.example\"");
  }
}

void CheckRaised(const StatementSource& source, const char* element, bool wanted,
                 CheckReport& report) {
  if (!wanted) return;
  const long line = LineOfPart(source, element);
  const std::string text = std::string(element) + " Alert is 1, but no alert is raised, since ";
  if (source.statement->IsExcluded()) {
    report.Warning(line, text + "IncludeExclude is 0; write Alert=\"0\"");
  } else if (source.statement->IsExcludeAlert()) {
    report.Warning(line, text + "ExcludeAlert is 1; write Alert=\"0\", or ExcludeAlert=\"0\"");
  }
}

}  // namespace

void CheckAlerts(const StatementSource& source, CheckReport& report) {
  WKFilterStatement& statement = *source.statement;
  CheckMail(source, report);
  CheckRaised(source, "SNMP", statement.IsSNMPAlertSet(), report);
  CheckRaised(source, "SysLog", statement.IsSyslogAlertSet(), report);
  CheckRaised(source, "SMTP", statement.IsSMTPAlertSet(), report);
}

}  // namespace wkagent
