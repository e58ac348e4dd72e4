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

EventDecision::EventDecision(WKFilter& filter) : filter_(filter), gathering_(filter.alerts) {
  filter_.alertsExcluded = false;
  ReleaseAlerts(filter_.alerts);
}

bool EventDecision::Take(WKFilterStatement& covering) {
  kept_ = !covering.IsExcluded();
  if (!kept_ || covering.IsExcludeAlert()) ReleaseAlerts(filter_.alerts);
  if (!kept_) return false;
  if (covering.IsExcludeAlert()) filter_.alertsExcluded = true;
  if (!filter_.alertsExcluded) gathering_.Gather(covering);
  return true;
}

}  // namespace wkagent
