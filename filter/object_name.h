#ifndef WKAGENT_FILTER_OBJECT_NAME_H
#define WKAGENT_FILTER_OBJECT_NAME_H

#include <string_view>

namespace wkagent {

// The two parts of an object's full dotted name, split at the first dot.
struct ObjectName {
  explicit ObjectName(const char* name) : own(name) {
    const std::size_t dot = own.find('.');
    if (dot == std::string_view::npos) return;
    context = own.substr(dot + 1);
    own = own.substr(0, dot);
  }

  std::string_view own;
  std::string_view context = "[Root]";  // terminated, as the name is
};

}  // namespace wkagent

#endif  // WKAGENT_FILTER_OBJECT_NAME_H
