#ifndef WKAGENT_FILTER_TEXT_CHECK_H
#define WKAGENT_FILTER_TEXT_CHECK_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "filter/statement_set.h"
#include "filter/statement_shape.h"
#include "filter/text_index.h"

namespace wkagent {

// What the statements of a filter say of one text of an event, the user's name for instance: which
// of them do not look at it, and which are satisfied by which text in it.
class TextCheck {
 public:
  TextCheck() = default;
  explicit TextCheck(std::size_t statements) : unrestricted_(statements), satisfied_(statements) {}

  // For each statement either of these; one that neither is called for is never satisfied.
  void AddUnrestricted(std::size_t place) { unrestricted_.Add(place); }
  void Add(const std::string& mappedText, std::size_t place) {
    statementsOf_[mappedText].push_back(place);
  }

  // Must be called after all of them.
  void Finish();

  // Keeps the statements that do not look at the text or are satisfied.
  void Narrow(StatementSet& candidates, const EventShape::Text& text, const ByteMap& map);

 private:
  StatementSet unrestricted_;
  StatementSet satisfied_;                                        // of the latest event
  std::map<std::string, std::vector<std::size_t>> statementsOf_;  // emptied by Finish
  TextIndex texts_;
  std::vector<std::vector<std::size_t>> statements_;  // by text
};

}  // namespace wkagent

#endif  // WKAGENT_FILTER_TEXT_CHECK_H
