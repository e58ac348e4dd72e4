#ifndef WKAGENT_FILTER_STATEMENT_INDEX_H
#define WKAGENT_FILTER_STATEMENT_INDEX_H

#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include <wkagent/filter.h>

#include "filter/statement_set.h"
#include "filter/statement_shape.h"
#include "filter/text_check.h"
#include "filter/upper_case.h"

namespace wkagent {

// Tells which statements of a filter can cover an event, so that the others need not be tried. The
// entries of all statements' lists of one kind are looked for in the event's text at once.
//
// It is made again when the filter's list, a statement's settings or one of its lists has changed
// by a method.
class StatementIndex {
 public:
  using Describe = StatementShape (*)(WKFilterStatement&);

  // With fewer statements, trying each costs no more.
  static constexpr int kFewestStatements = 24;

  // Makes the index unless it is that of this list as it stands. False where the list does not hold
  // pointers alone.
  [[nodiscard]] bool Prepare(CLinkList& statements, Describe describe);

  // The places of the statements that can cover an event. Valid until the next call.
  [[nodiscard]] const StatementSet& Candidates(const EventShape& event);

  [[nodiscard]] WKFilterStatement& StatementAt(std::size_t place) const {
    return *entries_[place].statement;
  }
  // True when being a candidate says all about the statement but whether its time window is open.
  [[nodiscard]] bool IsCertain(std::size_t place) const { return certain_.Contains(place); }
  [[nodiscard]] tagLinkList* NodeAt(std::size_t place) const { return entries_[place].node; }

 private:
  struct Entry {
    tagLinkList* node;
    WKFilterStatement* statement;
  };

  [[nodiscard]] bool IsCurrent(const CLinkList& statements) const;
  [[nodiscard]] bool ReadList(const CLinkList& statements);
  void Make(Describe describe);
  void AddStatement(std::size_t place, const StatementShape& shape);
  void AddContext(std::size_t place, const StatementShape& shape);

  bool isMade_ = false;
  std::uint32_t listRevision_ = 0;
  std::uint64_t changes_ = 0;  // WatchedChanges when it was made
  const void* locale_ = nullptr;
  ByteMap upperCase_{};
  ByteMap sameByte_ = SameByteMap();
  std::vector<Entry> entries_;

  std::array<StatementSet, kMostKeys> ofKey_;  // that cover the operation
  StatementSet ofOtherKeys_;
  std::array<TextCheck, kMostLists> lists_;
  TextCheck subContexts_;
  // Equal contexts are equally long: the statements that want this length, and those that want
  // none.
  std::map<std::size_t, StatementSet> ofContextLength_;
  StatementSet ofOtherContextLengths_;
  StatementSet certain_;
  StatementSet candidates_;
};

}  // namespace wkagent

#endif  // WKAGENT_FILTER_STATEMENT_INDEX_H
