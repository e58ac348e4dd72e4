#ifndef WKAGENT_FUZZ_FILTER_CHECK_H
#define WKAGENT_FUZZ_FILTER_CHECK_H

// What the targets of both kinds of filter files share.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <wkagent/filter.h>

#include "core/bounded_copy.h"
#include "fuzz/fuzz.h"

namespace wkagent::fuzz {

// A filter that is read from files of any bytes, and whose decisions are compared with the rules.
template <typename Filter, typename Statement>
class CheckedFilter {
 public:
  CheckedFilter() : filter_(none_) { CopyBounded(filter_.filterPath, file_.Path()); }

  // False where the file is refused.
  bool Read(std::string_view bytes) {
    file_.Replace(bytes);
    if (filter_.ReadFilter() != 0) {
      Require(filter_.GetReadError() != nullptr, "a file that is refused has a reason");
      return false;
    }
    // With so many statements a filter makes an index. These cover nothing.
    for (int i = 0; i < kIdle; ++i) {
      Statement* idle = std::make_unique<Statement>().release();
      filter_.AddNode(&idle, sizeof(idle));
    }
    return true;
  }

  // `decide(Filter&)` must give what all `covers(Statement&)` together do.
  template <typename Decide, typename Covers>
  void Check(Decide decide, Covers covers) {
    const bool before = IsKept(covers);
    const bool kept = decide(filter_);
    // A time window may open or close in between.
    Require(kept == before || kept == IsKept(covers), "the decision is that of the statements");
    Require(kept || filter_.alerts.GetCount() == 0, "an event that is dropped raises no alert");
  }

 private:
  static constexpr int kIdle = 24;

  template <typename Covers>
  bool IsKept(Covers covers) {
    bool kept = false;
    for (const tagLinkList* node = filter_.statements.head; node != nullptr; node = node->next) {
      Statement& statement = **reinterpret_cast<Statement**>(node->data);
      if (!covers(statement)) continue;
      if (statement.IsExcluded()) return false;
      kept = true;
    }
    return kept;
  }

  char none_[5] = "none";
  MemoryFile file_;
  Filter filter_;
};

}  // namespace wkagent::fuzz

#endif  // WKAGENT_FUZZ_FILTER_CHECK_H
