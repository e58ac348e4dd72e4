#ifndef WKAGENT_FILTER_DECISION_H
#define WKAGENT_FILTER_DECISION_H

// How a filter decides an event, the same for every kind of statement.
//
// The statements are tried in file order. One that covers the event and excludes it ends the
// decision: the event is dropped and raises nothing. One that suppresses alerts empties the list of
// alerts and keeps it empty. Any other adds what it wants: a trap and a syslog entry once an event,
// a mail for each statement.

#include <wkagent/filter.h>

#include "filter/pointer_list.h"

namespace wkagent {

// Adds the alerts that a covering statement wants. One object gathers for one event.
class AlertGathering {
 public:
  explicit AlertGathering(CLinkList& alerts) : alerts_(alerts) {}

  void Gather(WKFilterStatement& statement);

 private:
  AlertWrapper* Append(int alertType);

  CLinkList& alerts_;
  bool snmpGathered_ = false;
  bool syslogGathered_ = false;
};

// Decides an event that `covers(Statement&)` describes. `Statement` is the class of every object in
// the filter's list.
template <typename Statement, typename Covers>
[[nodiscard]] bool DecideEvent(WKFilter& filter, Covers covers) {
  filter.alertsExcluded = false;
  ReleaseAlerts(filter.alerts);
  AlertGathering gathering(filter.alerts);
  bool kept = false;
  Statement* statement = nullptr;
  filter.statements.SetHead();
  while (filter.GetNode(&statement, sizeof(statement)) == 0) {
    if (statement == nullptr || !covers(*statement)) continue;
    if (statement->IsExcluded()) {
      ReleaseAlerts(filter.alerts);
      return false;
    }
    kept = true;
    if (statement->IsExcludeAlert()) {
      filter.alertsExcluded = true;
      ReleaseAlerts(filter.alerts);
    }
    if (!filter.alertsExcluded) gathering.Gather(*statement);
  }
  return kept;
}

}  // namespace wkagent

#endif  // WKAGENT_FILTER_DECISION_H
