#include <algorithm>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_kinds.h"
#include "filter_models.h"
#include "filter_support.h"
#include "support/agent_home.h"
#include "support/sanitized.h"

namespace wkagent::test {
namespace {

#ifdef WKAGENT_TEST_SANITIZED
constexpr int kRoundsOfMany = 200;
#else
constexpr int kRoundsOfMany = 3000;
#endif

// What a statement says, as plain data.
struct NaiveList {
  bool all = false;
  std::vector<std::string> entries;
};
struct NaiveStatement {
  bool enabled, include, allDay, windowOpen, allOperations, excludeAlert;
  bool snmp, syslog, mail;
  std::set<int> operations;
  NaiveList users;
  std::string to;
};
struct NaiveDirectoryStatement : NaiveStatement {
  bool subContexts;
  std::string context;  // empty covers the whole directory
  NaiveList nodes, objects, classes, attributes, values;
};
struct NaiveLoginStatement : NaiveStatement {
  std::set<int> conditions;
  NaiveList nodes;
};

bool ListCovers(const NaiveList& list, const std::optional<std::string>& value) {
  return list.all || NaiveEntityMatch(value, list.entries);
}

bool ContextCovers(const NaiveDirectoryStatement& statement, const std::string& context) {
  if (statement.context.empty()) return true;
  if (statement.subContexts) return context.find(statement.context) != std::string::npos;
  return UpperCase(context) == UpperCase(statement.context);
}

bool Covers(const NaiveDirectoryStatement& statement, const DirectoryEvent& event) {
  if (!event.user || !event.object) return false;
  const std::size_t dot = event.object->find('.');
  const std::string ownName = event.object->substr(0, dot);
  const std::string context = dot == std::string::npos ? "[Root]" : event.object->substr(dot + 1);
  return statement.enabled && (statement.allDay || statement.windowOpen) &&
         (statement.allOperations || statement.operations.count(event.operation) > 0) &&
         ContextCovers(statement, context) && ListCovers(statement.users, event.user) &&
         ListCovers(statement.nodes, event.node) && ListCovers(statement.objects, ownName) &&
         ListCovers(statement.classes, event.className) &&
         (!event.attribute || ListCovers(statement.attributes, event.attribute)) &&
         (!event.value || ListCovers(statement.values, event.value));
}

bool Covers(const NaiveLoginStatement& statement, const LoginEvent& event) {
  const int condition = event.condition <= 0 ? 705 : event.condition;
  const bool listed =
      statement.operations.count(event.operation) > 0 && statement.conditions.count(condition) > 0;
  return statement.enabled && (statement.allDay || statement.windowOpen) &&
         (statement.allOperations || listed) && event.user &&
         ListCovers(statement.users, event.user) && ListCovers(statement.nodes, event.node);
}

struct Verdict {
  bool kept = false;
  std::vector<std::string> alerts;
  bool operator==(const Verdict&) const = default;
};

// All covering statements together decide; the order matters for the order of the alerts alone.
template <typename Statement, typename Event>
Verdict Decide(const std::vector<Statement>& statements, const Event& event) {
  std::vector<const NaiveStatement*> covering;
  for (const Statement& statement : statements) {
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

  // One in so many statements excludes, and as many suppress alerts.
  void SetExcluding(int excluding) { excluding_ = excluding; }

  void Make(NaiveDirectoryStatement& statement, int number) {
    MakeCommon(statement, number);
    statement.operations = Codes(20001, 20016);
    statement.subContexts = random_.OneIn(2);
    if (random_.OneIn(3)) statement.context = random_.OneIn(4) ? "[Root]" : Name(4, "aA.") + "a";
    for (NaiveList* list : {&statement.nodes, &statement.objects, &statement.classes,
                            &statement.attributes, &statement.values}) {
      *list = List();
    }
  }

  void Make(NaiveLoginStatement& statement, int number) {
    MakeCommon(statement, number);
    statement.operations = Codes(21001, 21002);
    statement.conditions = Codes(705, 707);
    statement.nodes = List();
  }

  void Make(DirectoryEvent& event) {
    event.operation = 19999 + random_.Below(20);
    for (auto* field :
         {&event.user, &event.node, &event.className, &event.attribute, &event.value}) {
      *field = Value();
    }
    event.object = Name(6, "aAb.") + Name(6, "aA.") + "a";
    if (random_.OneIn(20)) event.object.reset();
  }

  void Make(LoginEvent& event) {
    event.operation = 21000 + random_.Below(4);
    event.condition = random_.OneIn(4) ? -random_.Below(2) : 704 + random_.Below(5);
    event.user = Value();
    event.node = Value();
  }

 private:
  void MakeCommon(NaiveStatement& statement, int number) {
    statement.enabled = !random_.OneIn(8);
    statement.include = !random_.OneIn(excluding_);
    statement.allDay = !random_.OneIn(3);
    statement.windowOpen = !random_.OneIn(3);
    statement.allOperations = random_.OneIn(2);
    statement.excludeAlert = random_.OneIn(excluding_);
    statement.snmp = random_.OneIn(2);
    statement.syslog = random_.OneIn(2);
    statement.mail = random_.OneIn(2);
    statement.to = "ops" + std::to_string(number);
    statement.users = List();
  }

  std::set<int> Codes(int first, int last) {
    std::set<int> codes;
    for (int code = first; code <= last; ++code) {
      if (random_.OneIn(2)) codes.insert(code);
    }
    return codes;
  }

  std::string Name(int limit, std::string_view letters) {
    return random_.Word(letters, random_.Below(limit));
  }

  std::optional<std::string> Value() {
    if (random_.OneIn(12)) return std::nullopt;
    return Name(6, "aAb.");
  }

  NaiveList List() {
    NaiveList list;
    list.all = !random_.OneIn(3);
    list.entries.resize(static_cast<std::size_t>(random_.Below(4)));
    for (std::string& entry : list.entries) entry = Name(3, "aB");
    return list;
  }

  Random& random_;
  int excluding_ = 8;
};

void AddAll(const NaiveList& list, const std::function<void(char*)>& add) {
  for (const std::string& entry : list.entries) add(Text(entry));
}

void FillCommon(const NaiveStatement& from, WKFilterStatement& to) {
  to.SetEnableFlag(from.enabled);
  to.SetIncExFlag(from.include);
  to.SetAllDayFlag(from.allDay);
  SetWindow(to, time(nullptr), from.windowOpen ? 86400 : -86400, from.windowOpen ? -86400 : 86400);
  to.SetExcludeAlert(from.excludeAlert);
  to.SetSNMPAlert(from.snmp);
  to.SetSyslogAlert(from.syslog);
  to.SetSMTPAlert(from.mail);
  to.SetTo(Text(from.to));
  to.SetAllUserFlag(from.users.all);
  AddAll(from.users, [&](char* name) { to.AddUser(name); });
}

void Fill(const NaiveDirectoryStatement& from, WKEDAFilterStatement& to) {
  FillCommon(from, to);
  to.SetAllOpsFlag(from.allOperations);
  to.SetAllNodeFlag(from.nodes.all);
  to.SetAuditSubContexts(from.subContexts);
  to.SetAllObjFlag(from.objects.all);
  to.SetAllClassFlag(from.classes.all);
  to.SetAllAttrFlag(from.attributes.all);
  to.SetAllValueFlag(from.values.all);
  to.SetAuditedContext(Text(from.context));
  for (const int code : from.operations) to.AddOperation(code);
  AddAll(from.nodes, [&](char* name) { to.AddNode(name); });
  AddAll(from.objects, [&](char* name) { to.AddObject(name); });
  AddAll(from.classes, [&](char* name) { to.AddClass(name); });
  AddAll(from.attributes, [&](char* name) { to.AddAttr(name); });
  AddAll(from.values, [&](char* name) { to.AddAttrValue(name); });
}

// Operations and conditions are added in pairs, of which one may be unknown.
void Fill(const NaiveLoginStatement& from, WKELAFilterStatement& to) {
  FillCommon(from, to);
  to.SetAllOpsFlag(from.allOperations);
  to.SetAllNodeFlag(from.nodes.all);
  for (const int code : from.operations) to.AddOperation(code, 1);
  for (const int code : from.conditions) to.AddOperation(1, code == 705 ? 0 : code);
  AddAll(from.nodes, [&](char* name) { to.AddNode(name); });
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

template <typename Kind>
class FilterModel : public ::testing::Test {
 protected:
  using Naive = std::conditional_t<std::is_same_v<Kind, Directory>, NaiveDirectoryStatement,
                                   NaiveLoginStatement>;

  FilterModel() { home_.Write("config/f.xml", FilterFile("")); }

  // A filter of random statements decides random events as the model does.
  void CompareOneFilter() { CompareOneFilter(random_.Below(7)); }
  void CompareOneFilter(int size) {
    typename Kind::Filter filter(Text("f.xml"));
    std::vector<Naive> statements;
    for (int number = size; number > 0; --number) {
      cases_.Make(statements.emplace_back(), number);
      auto* statement = new typename Kind::Statement;
      Fill(statements.back(), *statement);
      filter.AddNode(&statement, sizeof(statement));
    }
    for (int count = 0; count < 50; ++count) {
      if (size > 7 && count % 10 == 9) ChangeOne(filter, statements);
      typename Kind::Event event;
      cases_.Make(event);
      const Verdict expected = Decide(statements, event);
      const bool kept = Passes(filter, event);
      ASSERT_EQ(expected, (Verdict{kept, Alerts(filter)}))
          << "event " << count << ": " << event.operation << " " << event.user.value_or("(null)");
      tally_.Count(expected);
    }
  }

  // Turns a statement on or off, or adds a user to it.
  void ChangeOne(typename Kind::Filter& filter, std::vector<Naive>& statements) {
    const int place = random_.Below(static_cast<int>(statements.size()));
    Naive& naive = statements[static_cast<std::size_t>(place)];
    auto* const statement =
        Objects<typename Kind::Statement>(filter.statements)[static_cast<std::size_t>(place)];
    if (random_.OneIn(2)) {
      naive.enabled = !naive.enabled;
      statement->SetEnableFlag(naive.enabled);
    } else {
      naive.users.entries.emplace_back("bA");
      statement->AddUser(Text("bA"));
    }
  }

  AgentHome home_;
  Random random_;
  Cases cases_{random_};
  Tally tally_;
};
TYPED_TEST_SUITE(FilterModel, FilterKinds, KindName);

TYPED_TEST(FilterModel, AgreesOnRandomStatementsAndEvents) {
  for (int round = 0; round < 2000; ++round) {
    ASSERT_NO_FATAL_FAILURE(this->CompareOneFilter()) << "filter " << round;
  }
  EXPECT_GT(this->tally_.dropped, 5000);
  EXPECT_GT(this->tally_.keptQuietly, 1000);
  EXPECT_GT(this->tally_.keptWithAlerts, 5000);
}

// So many statements are tried by an index.
TYPED_TEST(FilterModel, AgreesOnManyStatements) {
  this->cases_.SetExcluding(400);
  for (int round = 0; round < kRoundsOfMany; ++round) {
    const int size = 24 + this->random_.Below(100);
    ASSERT_NO_FATAL_FAILURE(this->CompareOneFilter(size)) << "filter " << round;
  }
  EXPECT_GT(this->tally_.dropped, kRoundsOfMany / 10);
  EXPECT_GT(this->tally_.keptQuietly, kRoundsOfMany / 10);
  EXPECT_GT(this->tally_.keptWithAlerts, kRoundsOfMany / 10);
}

}  // namespace
}  // namespace wkagent::test
