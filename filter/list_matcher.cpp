#include "filter/list_matcher.h"

#include <algorithm>

#include "filter/entry_texts.h"

namespace wkagent {

void ListMatcher::Prepare() {
  upperCase_ = UpperCaseMap();
  const std::vector<std::string> texts = EntryTexts(list_, upperCase_);
  texts_ = TextIndex(texts);
  nodes_.clear();
  for (tagLinkList* node = list_.head; nodes_.size() < texts.size(); node = node->next) {
    nodes_.push_back(node);
  }
  revision_ = list_.GetRevision();
  locale_ = UpperCaseLocale();
  isPrepared_ = true;
}

bool ListMatcher::Occurs(std::string_view value) {
  if (!isPrepared_ || revision_ != list_.GetRevision() || locale_ != UpperCaseLocale()) Prepare();
  std::size_t first = nodes_.size();
  texts_.Find(value, upperCase_, [&first](std::uint32_t id) {
    first = std::min<std::size_t>(first, id);
    return first > 0;
  });
  const bool occurs = first < nodes_.size();
  list_.SetHead();
  if (nodes_.empty()) return false;
  list_.last = nodes_[occurs ? first : first - 1];
  list_.current = list_.last->next;
  return occurs;
}

bool Occurs(std::unique_ptr<ListMatcher>& matcher, CLinkList& list, std::string_view value) {
  if (matcher == nullptr) matcher = std::make_unique<ListMatcher>(list);
  return matcher->Occurs(value);
}

}  // namespace wkagent
