// A value, a zero byte, then the entries of a list, which may hold zero bytes, with a line feed
// behind each.

#include "filter/list_matcher.h"

#include "filter/entity_match.h"
#include "filter/filter_models.h"
#include "fuzz/fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  Parts parts(data, size);
  const std::string value = parts.Next();
  CLinkList list;
  wkagent::ListMatcher matcher(list);
  std::vector<std::string> entries;
  for (std::string rest = parts.Rest(); !rest.empty();) {
    std::string entry = rest.substr(0, rest.find('\n'));
    rest.erase(0, entry.size() + 1);
    list.AddNode(entry.data(), static_cast<int>(entry.size()));
    entries.push_back(entry);
  }
  const bool occurs = matcher.Occurs(value);
  const tagLinkList* const cursor = list.current;
  Require(occurs == wkagent::test::NaiveEntityMatch(value, entries), "an entry occurs, or none");
  Require(occurs == wkagent::EntityOccurs(value, list), "entry by entry the answer is the same");
  Require(cursor == list.current, "the cursor is where reading would have left it");
  return 0;
}
