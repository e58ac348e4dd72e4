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
#include "filter/statement_index.h"

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

// The decision on one event.
class EventDecision {
 public:
  // Forgets what the event before has left in the filter.
  explicit EventDecision(WKFilter& filter);

  // Takes the next statement that covers the event. False when it drops the event, which ends the
  // decision.
  [[nodiscard]] bool Take(WKFilterStatement& covering);

  [[nodiscard]] bool IsKept() const { return kept_; }

 private:
  WKFilter& filter_;
  AlertGathering gathering_;
  bool kept_ = false;
};

// Decides an event that `covers(Statement&)` describes, trying every statement. `Statement` is the
// class of every object in the filter's list.
template <typename Statement, typename Covers>
[[nodiscard]] bool DecideEvent(WKFilter& filter, Covers covers) {
  EventDecision decision(filter);
  Statement* statement = nullptr;
  filter.statements.SetHead();
  while (filter.GetNode(&statement, sizeof(statement)) == 0) {
    if (statement == nullptr || !covers(*statement)) continue;
    if (!decision.Take(*statement)) break;
  }
  return decision.IsKept();
}

// The same, trying only those that the index names. The list's cursor is left as above.
template <typename Statement, typename Covers>
[[nodiscard]] bool DecideIndexedEvent(WKFilter& filter, StatementIndex& index,
                                      const EventShape& event, Covers covers) {
  EventDecision decision(filter);
  CLinkList& list = filter.statements;
  list.last = list.tail;
  list.current = nullptr;
  index.Candidates(event).ForEach([&](std::size_t place) {
    auto& statement = static_cast<Statement&>(index.StatementAt(place));
    const bool covered =
        index.IsCertain(place) ? statement.allDay || statement.PassTimeCheck() : covers(statement);
    if (!covered || decision.Take(statement)) return true;
    list.last = index.NodeAt(place);
    list.current = list.last->next;
    return false;
  });
  return decision.IsKept();
}

}  // namespace wkagent

#endif  // WKAGENT_FILTER_DECISION_H
