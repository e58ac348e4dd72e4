#include <wkagent/alert.h>
#include <wkagent/filter.h>

#include "filter/pointer_list.h"

namespace {

enum AlertType { kMail = 1, kTrap = 2, kLogEntry = 3 };

void SpoolMail(WKSMTPAlert& mail, WKSMTPAlertObject* settings) {
  if (settings == nullptr) return;
  const auto given = [](const char* value) { return const_cast<char*>(value ? value : ""); };
  mail.SetFromID(given(settings->GetFrom()));
  mail.SetToList(given(settings->GetTo()));
  mail.SetCCList(given(settings->GetCC()));
  mail.SetSubject(given(settings->GetSubject()));
  mail.Serialize();
}

}  // namespace

void WKFilter::Serialize(char* text) {
  WKSMTPAlert mail;
  WKSNMPAlert trap;
  WKSysLog entry;
  mail.InitializeLogMessage(logCallback);
  trap.InitializeLogMessage(logCallback);
  entry.InitializeLogMessage(logCallback);
  mail.SetMessage(text);
  wkagent::ForEachObject<AlertWrapper>(alerts, [&](AlertWrapper* alert) {
    switch (alert->GetAlertType()) {
      case kMail:
        SpoolMail(mail, alert->GetSMTPAlertInfo());
        break;
      case kTrap:
        trap.SetMessage(text);
        trap.Serialize();
        break;
      case kLogEntry:
        entry.SetMessage(text);
        entry.Serialize();
        break;
      default:
        break;
    }
  });
}
