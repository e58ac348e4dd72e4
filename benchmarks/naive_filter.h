#ifndef WKAGENT_BENCHMARKS_NAIVE_FILTER_H
#define WKAGENT_BENCHMARKS_NAIVE_FILTER_H

// The rules of filters as they read: each check of each statement in turn, each entry copied,
// turned to upper case and searched for.

#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include <strings.h>

namespace wkagent::bench {

struct NaiveList {
  bool all = false;
  std::vector<std::string> entries;
};

struct NaiveStatement {
  bool allOperations = false;
  bool operations[16] = {};
  NaiveList users, objects, classes, attributes, values;
  bool subContexts = false;
  std::string context;  // empty: any
};

struct Event {
  int operation = 20001;
  std::string user, object, className, attribute, value;
};

inline void UpperCase(char* text) {
  for (; *text != '\0'; ++text) {
    *text = static_cast<char>(std::toupper(static_cast<unsigned char>(*text)));
  }
}

inline bool NaiveMatch(const char* value, const std::vector<std::string>& entries) {
  std::vector<char> upperValue(value, value + std::strlen(value) + 1);
  UpperCase(upperValue.data());
  char scratch[301] = {};
  for (const std::string& entry : entries) {
    if (entry.size() > 300) break;
    std::memcpy(scratch, entry.data(), entry.size());
    char text[301];
    std::memcpy(text, scratch, std::strlen(scratch) + 1);
    UpperCase(text);
    if (std::strstr(upperValue.data(), text) != nullptr) return true;
  }
  return false;
}

inline bool NaiveCovers(const NaiveStatement& statement, const Event& event) {
  const auto satisfied = [](const NaiveList& list, const std::string& value) {
    return list.all || NaiveMatch(value.c_str(), list.entries);
  };
  if (!statement.allOperations && !statement.operations[event.operation - 20001]) return false;
  const std::size_t dot = event.object.find('.');
  const std::string ownName = event.object.substr(0, dot);
  const std::string context = dot == std::string::npos ? "[Root]" : event.object.substr(dot + 1);
  if (!statement.context.empty()) {
    const bool inContext = statement.subContexts
                               ? context.find(statement.context) != std::string::npos
                               : strcasecmp(context.c_str(), statement.context.c_str()) == 0;
    if (!inContext) return false;
  }
  return satisfied(statement.users, event.user) && satisfied(statement.objects, ownName) &&
         satisfied(statement.classes, event.className) &&
         satisfied(statement.attributes, event.attribute) &&
         satisfied(statement.values, event.value);
}

// All statements include, and none raises an alert.
inline bool NaiveDecision(const std::vector<NaiveStatement>& statements, const Event& event) {
  bool kept = false;
  for (const NaiveStatement& statement : statements) {
    if (NaiveCovers(statement, event)) kept = true;
  }
  return kept;
}

}  // namespace wkagent::bench

#endif  // WKAGENT_BENCHMARKS_NAIVE_FILTER_H
