#include "filter/statement_index.h"

#include <cstring>
#include <iterator>

#include "core/watched_changes.h"
#include "filter/entry_texts.h"

namespace wkagent {

bool StatementIndex::IsCurrent(const CLinkList& statements) const {
  return isMade_ && listRevision_ == statements.GetRevision() && changes_ == WatchedChanges() &&
         locale_ == UpperCaseLocale();
}

bool StatementIndex::Prepare(CLinkList& statements, Describe describe) {
  if (IsCurrent(statements)) return true;
  // Noted first, so that no change is missed.
  listRevision_ = statements.GetRevision();
  changes_ = WatchedChanges();
  locale_ = UpperCaseLocale();
  isMade_ = false;  // as it stays where memory runs out below
  if (!ReadList(statements)) return false;
  Make(describe);
  isMade_ = true;
  return true;
}

bool StatementIndex::ReadList(const CLinkList& statements) {
  entries_.clear();
  for (tagLinkList* node = statements.head; node != nullptr; node = node->next) {
    WKFilterStatement* statement = nullptr;
    if (node->size != static_cast<int>(sizeof(statement))) return false;
    std::memcpy(&statement, node->data, sizeof(statement));
    if (statement != nullptr) entries_.push_back({node, statement});
  }
  return true;
}

void StatementIndex::Make(Describe describe) {
  const StatementSet none(entries_.size());
  upperCase_ = UpperCaseMap();
  ofKey_.fill(none);
  ofOtherKeys_ = none;
  certain_ = none;
  lists_.fill(TextCheck(entries_.size()));
  subContexts_ = TextCheck(entries_.size());
  ofContextLength_.clear();
  ofOtherContextLengths_ = none;
  std::vector<StatementShape> shapes;
  for (const Entry& entry : entries_) shapes.push_back(describe(*entry.statement));
  for (const StatementShape& shape : shapes) {
    if (!shape.anyContext && !shape.subContexts && shape.context != nullptr) {
      ofContextLength_.emplace(std::strlen(shape.context), none);
    }
  }
  for (std::size_t place = 0; place < shapes.size(); ++place) AddStatement(place, shapes[place]);
  for (TextCheck& check : lists_) check.Finish();
  subContexts_.Finish();
}

void StatementIndex::AddStatement(std::size_t place, const StatementShape& shape) {
  if (!shape.enabled) return;
  if (shape.isPlain && (shape.anyContext || shape.subContexts)) certain_.Add(place);
  for (std::size_t key = 0; key < ofKey_.size(); ++key) {
    if (shape.anyKey || (shape.keys >> key & 1) != 0) ofKey_[key].Add(place);
  }
  if (shape.anyKey) ofOtherKeys_.Add(place);
  for (std::size_t i = 0; i < lists_.size(); ++i) {
    const StatementShape::List& list = shape.lists[i];
    if (list.all) {
      lists_[i].AddUnrestricted(place);
      continue;
    }
    list.entries->Watch();
    for (const std::string& text : EntryTexts(*list.entries, upperCase_)) {
      lists_[i].Add(text, place);
    }
  }
  AddContext(place, shape);
}

void StatementIndex::AddContext(std::size_t place, const StatementShape& shape) {
  if (!shape.anyContext && shape.context == nullptr) return;  // covers nothing
  if (!shape.anyContext && shape.subContexts) {
    subContexts_.Add(shape.context, place);
  } else {
    subContexts_.AddUnrestricted(place);
  }
  if (!shape.anyContext && !shape.subContexts) {
    ofContextLength_[std::strlen(shape.context)].Add(place);
    return;
  }
  for (auto& [length, places] : ofContextLength_) places.Add(place);
  ofOtherContextLengths_.Add(place);
}

const StatementSet& StatementIndex::Candidates(const EventShape& event) {
  const bool hasKey = event.key >= 0 && event.key < kMostKeys;
  candidates_ = hasKey ? ofKey_[static_cast<std::size_t>(event.key)] : ofOtherKeys_;
  if (candidates_.IsEmpty()) return candidates_;
  const auto ofLength = ofContextLength_.find(event.context.size());
  candidates_.Intersect(ofLength == ofContextLength_.end() ? ofOtherContextLengths_
                                                           : ofLength->second);
  subContexts_.Narrow(candidates_, EventShape::Text(event.context), sameByte_);
  for (std::size_t i = 0; i < lists_.size(); ++i) {
    lists_[i].Narrow(candidates_, event.texts[i], upperCase_);
  }
  return candidates_;
}

}  // namespace wkagent
