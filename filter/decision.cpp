#include "filter/decision.h"

#include <memory>
#include <utility>

namespace wkagent {
namespace {

constexpr int kMail = 1;
constexpr int kTrap = 2;
constexpr int kSyslog = 3;

}  // namespace

void AlertGathering::Gather(WKFilterStatement& statement) {
  if (statement.IsSNMPAlertSet() && !std::exchange(snmpGathered_, true)) Append(kTrap);
  if (statement.IsSyslogAlertSet() && !std::exchange(syslogGathered_, true)) Append(kSyslog);
  if (statement.IsSMTPAlertSet()) Append(kMail)->SetSMTPAlert(statement.GetSMTPData());
}

AlertWrapper* AlertGathering::Append(int alertType) {
  auto wrapper = std::make_unique<AlertWrapper>(alertType);
  AlertWrapper* pointer = wrapper.get();
  alerts_.AddNode(&pointer, sizeof(pointer));
  return wrapper.release();
}

}  // namespace wkagent
