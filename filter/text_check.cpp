#include "filter/text_check.h"

#include <utility>

namespace wkagent {

void TextCheck::Finish() {
  std::vector<std::string> texts;
  for (auto& [text, places] : std::exchange(statementsOf_, {})) {
    texts.push_back(text);
    statements_.push_back(std::move(places));
  }
  texts_ = TextIndex(texts);
}

void TextCheck::Narrow(StatementSet& candidates, const EventShape::Text& text, const ByteMap& map) {
  if (text.isMissing && text.passesMissing) return;
  if (statements_.empty() || text.isMissing) return candidates.Intersect(unrestricted_);
  satisfied_ = unrestricted_;
  texts_.Find(text.value, map, [this](std::uint32_t id) {
    for (const std::size_t place : statements_[id]) satisfied_.Add(place);
    return true;
  });
  candidates.Intersect(satisfied_);
}

}  // namespace wkagent
