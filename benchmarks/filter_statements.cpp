// What a decision costs with 10 to 10,000 statements, against the naive reading of the same rules.
// Events are of all 16 operations; a statement is on four of them, and half of them on some users,
// a third each on a container, on classes and on attributes.

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <wkagent/filter.h>

#include "filter_names.h"
#include "naive_filter.h"

namespace {

using wkagent::bench::Event;
using wkagent::bench::NaiveDecision;
using wkagent::bench::NaiveList;
using wkagent::bench::NaiveStatement;
using wkagent::bench::Names;

const std::vector<std::string> kClasses = {"inetOrgPerson", "organizationalUnit", "groupOfNames",
                                           "posixAccount", "device"};
const std::vector<std::string> kAttributes = {"telephoneNumber", "description",   "mail",
                                              "title",           "homeDirectory", "loginShell"};

NaiveStatement RandomStatement(Names& names) {
  NaiveStatement statement;
  for (int i = 0; i < 4; ++i) statement.operations[names.Below(16)] = true;
  const auto listOf = [&](std::size_t oneIn, std::size_t count, auto entry) {
    NaiveList list;
    list.all = names.Below(oneIn) != 0;
    while (list.entries.size() < count) list.entries.push_back(entry());
    return list;
  };
  statement.users = listOf(2, 3, [&] { return names.Name(); });
  statement.objects = listOf(8, 2, [&] { return names.Person(); });
  statement.classes = listOf(3, 2, [&] { return kClasses[names.Below(kClasses.size())]; });
  statement.attributes = listOf(3, 2, [&] { return kAttributes[names.Below(kAttributes.size())]; });
  statement.values = listOf(20, 1, [&] { return names.Person(); });
  if (names.Below(3) == 0) {
    const std::string name = names.Name();
    statement.context = name.substr(name.find('.') + 1);
    statement.subContexts = names.Below(2) == 0;
  }
  return statement;
}

Event RandomEvent(Names& names) {
  Event event;
  event.operation = 20001 + static_cast<int>(names.Below(16));
  event.user = names.Name();
  event.object = names.Name();
  event.className = kClasses[names.Below(kClasses.size())];
  event.attribute = kAttributes[names.Below(kAttributes.size())];
  event.value = names.Name();
  return event;
}

template <typename Add>
void AddAll(const NaiveList& list, Add add) {
  for (std::string entry : list.entries) add(entry.data());
}

WKEDAFilterStatement* NewStatement(const NaiveStatement& from) {
  auto* const to = new WKEDAFilterStatement;
  to->SetEnableFlag(true);
  to->SetIncExFlag(true);
  to->SetAllDayFlag(true);
  for (int i = 0; i < 16; ++i) {
    if (from.operations[i]) to->AddOperation(20001 + i);
  }
  to->SetAllUserFlag(from.users.all);
  to->SetAllObjFlag(from.objects.all);
  to->SetAllClassFlag(from.classes.all);
  to->SetAllAttrFlag(from.attributes.all);
  to->SetAllValueFlag(from.values.all);
  AddAll(from.users, [&](char* text) { to->AddUser(text); });
  AddAll(from.objects, [&](char* text) { to->AddObject(text); });
  AddAll(from.classes, [&](char* text) { to->AddClass(text); });
  AddAll(from.attributes, [&](char* text) { to->AddAttr(text); });
  AddAll(from.values, [&](char* text) { to->AddAttrValue(text); });
  std::string context = from.context;
  to->SetAuditedContext(context.data());
  to->SetAuditSubContexts(from.subContexts);
  return to;
}

struct Case {
  explicit Case(std::size_t count) {
    Names names;
    for (std::size_t i = 0; i < count; ++i) {
      statements.push_back(RandomStatement(names));
      WKEDAFilterStatement* statement = NewStatement(statements.back());
      filter.AddNode(&statement, sizeof(statement));
    }
    for (int i = 0; i < 256; ++i) events.push_back(RandomEvent(names));
    for (Event& event : events) {
      if (Decide(event) != NaiveDecision(statements, event)) {
        std::fputs("filter_statements: wrong answer\n", stderr);
      }
    }
  }

  bool Decide(Event& event) {
    char node[] = "192.0.2.1";
    return filter.PassFilter(event.operation, event.user.data(), node, event.object.data(),
                             event.className.data(), event.attribute.data(), event.value.data());
  }

  // Reads no file.
  char name[1] = "";
  WKEDAFilter filter{name};
  std::vector<NaiveStatement> statements;
  std::vector<Event> events;
};

void Run(benchmark::State& state, Case& rules, bool naive) {
  std::size_t next = 0;
  for (auto unused : state) {
    (void)unused;
    Event& event = rules.events[next];
    const bool kept = naive ? NaiveDecision(rules.statements, event) : rules.Decide(event);
    benchmark::DoNotOptimize(kept);
    next = (next + 1) % rules.events.size();
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  std::vector<std::unique_ptr<Case>> cases;
  for (const std::size_t count : {1U, 10U, 30U, 100U, 1000U, 10'000U}) {
    Case& rules = *cases.emplace_back(std::make_unique<Case>(count));
    const std::string name = "filter_statements/" + std::to_string(count) + '/';
    for (const bool naive : {false, true}) {
      benchmark::RegisterBenchmark(
          (name + (naive ? "naive" : "wkagent")).c_str(),
          [&rules, naive](benchmark::State& state) { Run(state, rules, naive); });
    }
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
