#ifndef WKAGENT_TESTS_COMPONENTS_EVENT_LOG_H
#define WKAGENT_TESTS_COMPONENTS_EVENT_LOG_H

#include <string>
#include <vector>

namespace wkagent::test {

// The events that a component has told, and the texts of its errors.
struct EventLog {
  static int Sink(void* wrapper, int event, int count, void** params, int* /*lengths*/) {
    auto& log = *static_cast<EventLog*>(wrapper);
    log.events.push_back(event);
    if (event == log.errorEvent && count == 2) {
      log.errors.emplace_back(static_cast<const char*>(params[1]));
    }
    return 0;
  }

  int errorEvent;
  std::vector<int> events = {};
  std::vector<std::string> errors = {};
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_COMPONENTS_EVENT_LOG_H
