// What it costs to look for the entries of one list in a value, for lists of 1 to 10,000 names,
// against the naive reading. None of the values holds an entry, so that all must be looked for.

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <wkagent/filter.h>

#include "filter_names.h"
#include "naive_filter.h"

namespace {

using wkagent::bench::NaiveMatch;
using wkagent::bench::Names;

struct Kind {
  const char* name;
  std::function<void(WKEDAFilterStatement&, WKELAFilterStatement&, char*)> add;
  std::function<bool(WKEDAFilterStatement&, WKELAFilterStatement&, char*)> passes;
};

const Kind kKinds[] = {
    {"user", [](auto& eda, auto&, char* name) { eda.AddUser(name); },
     [](auto& eda, auto&, char* value) { return eda.PassUserCheck(value); }},
    {"object", [](auto& eda, auto&, char* name) { eda.AddObject(name); },
     [](auto& eda, auto&, char* value) { return eda.PassObject(value); }},
    {"class", [](auto& eda, auto&, char* name) { eda.AddClass(name); },
     [](auto& eda, auto&, char* value) { return eda.PassClass(value); }},
    {"value", [](auto& eda, auto&, char* name) { eda.AddAttrValue(name); },
     [](auto& eda, auto&, char* value) { return eda.PassAttrValue(value); }},
    {"login-user", [](auto&, auto& ela, char* name) { ela.AddUser(name); },
     [](auto&, auto& ela, char* value) { return ela.PassUserCheck(value); }},
    {"login-node", [](auto&, auto& ela, char* name) { ela.AddNode(name); },
     [](auto&, auto& ela, char* value) { return ela.PassNodeCheck(value); }},
};

// Lists of one length, and values that hold none of their entries.
struct Case {
  Case(const Kind& chosen, std::size_t count) : kind(chosen) {
    Names names;
    for (std::size_t i = 0; i < count; ++i) {
      entries.push_back(names.Name());
      std::string entry = entries.back();
      kind.add(eda, ela, entry.data());
    }
    while (values.size() < 64) {
      const std::string value = names.Name();
      if (!NaiveMatch(value.c_str(), entries)) values.push_back(value);
    }
    for (std::string& value : values) {
      if (kind.passes(eda, ela, value.data())) std::fputs("filter_lists: wrong answer\n", stderr);
    }
  }

  const Kind& kind;
  WKEDAFilterStatement eda;
  WKELAFilterStatement ela;
  std::vector<std::string> entries;
  std::vector<std::string> values;
};

void Ours(benchmark::State& state, Case& list) {
  std::size_t next = 0;
  for (auto unused : state) {
    (void)unused;
    benchmark::DoNotOptimize(list.kind.passes(list.eda, list.ela, list.values[next].data()));
    next = (next + 1) % list.values.size();
  }
}

void Naive(benchmark::State& state, Case& list) {
  std::size_t next = 0;
  for (auto unused : state) {
    (void)unused;
    benchmark::DoNotOptimize(NaiveMatch(list.values[next].c_str(), list.entries));
    next = (next + 1) % list.values.size();
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  std::vector<std::unique_ptr<Case>> cases;
  for (const Kind& kind : kKinds) {
    for (const std::size_t count : {1U, 10U, 100U, 1000U, 10'000U}) {
      Case& list = *cases.emplace_back(std::make_unique<Case>(kind, count));
      const std::string name =
          std::string("filter_lists/") + kind.name + '-' + std::to_string(count) + '/';
      benchmark::RegisterBenchmark((name + "wkagent").c_str(),
                                   [&list](benchmark::State& state) { Ours(state, list); });
      benchmark::RegisterBenchmark((name + "naive").c_str(),
                                   [&list](benchmark::State& state) { Naive(state, list); });
    }
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
