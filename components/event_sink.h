#ifndef WKAGENT_COMPONENTS_EVENT_SINK_H
#define WKAGENT_COMPONENTS_EVENT_SINK_H

#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <vector>

#include <wkagent/components.h>

namespace wkagent::components {

inline void* ToParameter(int number) {
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(number));
}
inline void* ToParameter(const std::string& text) { return const_cast<char*>(text.c_str()); }

inline int ToNumber(const void* value) {
  return static_cast<int>(reinterpret_cast<std::intptr_t>(value));
}

// A text that a host passes: `length` bytes, or up to its terminator where that is 0.
inline std::string ToText(const void* value, int length) {
  const auto* const text = static_cast<const char*>(value);
  if (text == nullptr) return {};
  return length > 0 ? std::string(text, static_cast<std::size_t>(length)) : std::string(text);
}

// Whoever created a component and wants to know what it does.
class EventSink {
 public:
  // `component` begins the lines on standard error.
  EventSink(ComponentEventSink sink, void* wrapper, const char* component)
      : sink_(sink), wrapper_(wrapper), component_(component) {}

  // Returns what the sink does, or 0 where there is none.
  int Fire(int event, std::initializer_list<void*> parameters) const {
    if (sink_ == nullptr) return 0;
    std::vector<void*> params(parameters);
    std::vector<int> lengths(params.size(), 0);
    return sink_(wrapper_, event, static_cast<int>(params.size()), params.data(), lengths.data());
  }

  // Fires the component's error event, and prints one line on standard error. Returns the code.
  int Fail(int event, int code, std::string what) const {
    for (char& c : what) {
      if (static_cast<unsigned char>(c) < ' ') c = ' ';
    }
    Fire(event, {ToParameter(code), ToParameter(what)});
    std::fprintf(stderr, "%s: %s\n", component_, what.c_str());
    return code;
  }

 private:
  const ComponentEventSink sink_;
  void* const wrapper_;
  const char* const component_;
};

}  // namespace wkagent::components

#endif  // WKAGENT_COMPONENTS_EVENT_SINK_H
