#include <algorithm>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_models.h"
#include "filter_support.h"
#include "support/agent_home.h"

namespace wkagent::test {
namespace {

// What a statement says, as plain data.
struct NaiveList {
  bool all = false;
  std::vector<std::string> entries;
};
struct NaiveStatement {
  bool enabled, include, allDay, windowOpen, allOperations, subContexts, excludeAlert;
  bool snmp, syslog, mail;
  std::set<int> operations;
  std::string context;  // empty covers the whole directory
  NaiveList users, objects, classes, attributes, values;
  std::string to;
};

bool ListCovers(const NaiveList& list, const std::optional<std::string>& value) {
  return list.all || NaiveEntityMatch(value, list.entries);
}

bool ContextCovers(const NaiveStatement& statement, const std::string& context) {
  if (statement.context.empty()) return true;
  if (statement.subContexts) return context.find(statement.context) != std::string::npos;
  return UpperCase(context) == UpperCase(statement.context);
}

bool Covers(const NaiveStatement& statement, const Event& event) {
  if (!event.user || !event.object) return false;
  const std::size_t dot = event.object->find('.');
  const std::string ownName = event.object->substr(0, dot);
  const std::string context = dot == std::string::npos ? "[Root]" : event.object->substr(dot + 1);
  return statement.enabled && (statement.allDay || statement.windowOpen) &&
         (statement.allOperations || statement.operations.count(event.operation) > 0) &&
         ContextCovers(statement, context) && ListCovers(statement.users, event.user) &&
         ListCovers(statement.objects, ownName) && ListCovers(statement.classes, event.className) &&
         (!event.attribute || ListCovers(statement.attributes, event.attribute)) &&
         (!event.value || ListCovers(statement.values, event.value));
}

struct Verdict {
  bool kept = false;
  std::vector<std::string> alerts;
  bool operator==(const Verdict&) const = default;
};

// All covering statements together decide; the order matters for the order of the alerts alone.
Verdict Decide(const std::vector<NaiveStatement>& statements, const Event& event) {
  std::vector<const NaiveStatement*> covering;
  for (const NaiveStatement& statement : statements) {
    if (Covers(statement, event)) covering.push_back(&statement);
  }
  const auto any = [&](auto is) { return std::any_of(covering.begin(), covering.end(), is); };
  if (covering.empty() || any([](auto* statement) { return !statement->include; })) return {};
  Verdict verdict{true, {}};
  if (any([](auto* statement) { return statement->excludeAlert; })) return verdict;
  std::set<std::string> once;
  for (const NaiveStatement* statement : covering) {
    if (statement->snmp && once.insert("snmp").second) verdict.alerts.emplace_back("snmp");
    if (statement->syslog && once.insert("syslog").second) verdict.alerts.emplace_back("syslog");
    if (statement->mail) verdict.alerts.push_back("mail " + statement->to);
  }
  return verdict;
}

// Names of few letters, so that random entries occur in random values.
class Cases {
 public:
  explicit Cases(Random& random) : random_(random) {}

  NaiveStatement Statement(int number) {
    NaiveStatement statement{};
    statement.enabled = !random_.OneIn(8);
    statement.include = !random_.OneIn(8);
    statement.allDay = !random_.OneIn(3);
    statement.windowOpen = !random_.OneIn(3);
    statement.allOperations = random_.OneIn(2);
    for (int code = 20001; code <= 20016; ++code) {
      if (random_.OneIn(2)) statement.operations.insert(code);
    }
    statement.subContexts = random_.OneIn(2);
    if (random_.OneIn(3)) statement.context = random_.OneIn(4) ? "[Root]" : Name(4, "aA.") + "a";
    statement.excludeAlert = random_.OneIn(8);
    statement.snmp = random_.OneIn(2);
    statement.syslog = random_.OneIn(2);
    statement.mail = random_.OneIn(2);
    statement.to = "ops" + std::to_string(number);
    for (NaiveList* list : {&statement.users, &statement.objects, &statement.classes,
                            &statement.attributes, &statement.values}) {
      *list = List();
    }
    return statement;
  }

  Event AnyEvent() {
    Event event;
    event.operation = 19999 + random_.Below(20);
    for (auto* field :
         {&event.user, &event.node, &event.className, &event.attribute, &event.value}) {
      if (random_.OneIn(12)) {
        field->reset();
      } else {
        *field = Name(6, "aAb.");
      }
    }
    event.object = Name(6, "aAb.") + Name(6, "aA.") + "a";
    if (random_.OneIn(20)) event.object.reset();
    return event;
  }

 private:
  std::string Name(int limit, std::string_view letters) {
    return random_.Word(letters, random_.Below(limit));
  }

  NaiveList List() {
    NaiveList list;
    list.all = !random_.OneIn(3);
    list.entries.resize(static_cast<std::size_t>(random_.Below(4)));
    for (std::string& entry : list.entries) entry = Name(3, "aB");
    return list;
  }

  Random& random_;
};

void AddAll(const NaiveList& list, const std::function<void(char*)>& add) {
  for (const std::string& entry : list.entries) add(Text(entry));
}

void SetSwitches(const NaiveStatement& from, WKEDAFilterStatement& to) {
  to.SetEnableFlag(from.enabled);
  to.SetIncExFlag(from.include);
  to.SetAllDayFlag(from.allDay);
  SetWindow(to, time(nullptr), from.windowOpen ? 86400 : -86400, from.windowOpen ? -86400 : 86400);
  to.SetAllOpsFlag(from.allOperations);
  to.SetAuditSubContexts(from.subContexts);
  to.SetExcludeAlert(from.excludeAlert);
  to.SetSNMPAlert(from.snmp);
  to.SetSyslogAlert(from.syslog);
  to.SetSMTPAlert(from.mail);
  to.SetAllUserFlag(from.users.all);
  to.SetAllObjFlag(from.objects.all);
  to.SetAllClassFlag(from.classes.all);
  to.SetAllAttrFlag(from.attributes.all);
  to.SetAllValueFlag(from.values.all);
}

void Fill(const NaiveStatement& from, WKEDAFilterStatement& to) {
  SetSwitches(from, to);
  to.SetTo(Text(from.to));
  to.SetAuditedContext(Text(from.context));
  for (const int code : from.operations) to.AddOperation(code);
  AddAll(from.users, [&](char* name) { to.AddUser(name); });
  AddAll(from.objects, [&](char* name) { to.AddObject(name); });
  AddAll(from.classes, [&](char* name) { to.AddClass(name); });
  AddAll(from.attributes, [&](char* name) { to.AddAttr(name); });
  AddAll(from.values, [&](char* name) { to.AddAttrValue(name); });
}

// How many of the decided events were of each kind; a model test on one kind alone would be hollow.
struct Tally {
  int dropped = 0;
  int keptQuietly = 0;
  int keptWithAlerts = 0;

  void Count(const Verdict& verdict) {
    ++(!verdict.kept ? dropped : verdict.alerts.empty() ? keptQuietly : keptWithAlerts);
  }
};

class EdaFilterModel : public ::testing::Test {
 protected:
  EdaFilterModel() { home_.Write("config/f.xml", FilterFile("")); }

  // A filter of random statements decides random events as the model does.
  void CompareOneFilter() {
    WKEDAFilter filter(Text("f.xml"));
    std::vector<NaiveStatement> statements;
    for (int number = random_.Below(7); number > 0; --number) {
      statements.push_back(cases_.Statement(number));
      auto* statement = new WKEDAFilterStatement;
      Fill(statements.back(), *statement);
      filter.AddNode(&statement, sizeof(statement));
    }
    for (int count = 0; count < 50; ++count) {
      const Event event = cases_.AnyEvent();
      const Verdict expected = Decide(statements, event);
      const bool kept = Passes(filter, event);
      ASSERT_EQ(expected, (Verdict{kept, Alerts(filter)}))
          << "event " << count << ": " << event.operation << " " << event.user.value_or("(null)")
          << " " << event.object.value_or("(null)");
      tally_.Count(expected);
    }
  }

  AgentHome home_;
  Random random_;
  Cases cases_{random_};
  Tally tally_;
};

TEST_F(EdaFilterModel, AgreesOnRandomStatementsAndEvents) {
  for (int round = 0; round < 2000; ++round) {
    ASSERT_NO_FATAL_FAILURE(CompareOneFilter()) << "filter " << round;
  }
  EXPECT_GT(tally_.dropped, 5000);
  EXPECT_GT(tally_.keptQuietly, 1000);
  EXPECT_GT(tally_.keptWithAlerts, 5000);
}

}  // namespace
}  // namespace wkagent::test
