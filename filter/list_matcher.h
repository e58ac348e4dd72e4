#ifndef WKAGENT_FILTER_LIST_MATCHER_H
#define WKAGENT_FILTER_LIST_MATCHER_H

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include <wkagent/core.h>

#include "filter/text_index.h"
#include "filter/upper_case.h"

namespace wkagent {

// The list check of WKFilterStatement::EntityMatch for one list, whose entries are prepared anew
// when the list or the locale has changed.
class ListMatcher {
 public:
  // For this list, which must outlive the object.
  explicit ListMatcher(CLinkList& list) : list_(list) {}

  // True when an entry occurs in `value`. Moves the list's cursor behind the first that does.
  [[nodiscard]] bool Occurs(std::string_view value);

 private:
  void Prepare();

  CLinkList& list_;
  bool isPrepared_ = false;
  std::uint32_t revision_ = 0;
  const void* locale_ = nullptr;
  ByteMap upperCase_{};
  TextIndex texts_;
  std::vector<tagLinkList*> nodes_;  // of the texts
};

// ListMatcher::Occurs for a list whose matcher is made when it is first needed. Null never occurs.
[[nodiscard]] bool Occurs(std::unique_ptr<ListMatcher>& matcher, CLinkList& list,
                          std::string_view value);
[[nodiscard]] inline bool Occurs(std::unique_ptr<ListMatcher>& matcher, CLinkList& list,
                                 const char* value) {
  return value != nullptr && Occurs(matcher, list, std::string_view(value));
}

}  // namespace wkagent

#endif  // WKAGENT_FILTER_LIST_MATCHER_H
