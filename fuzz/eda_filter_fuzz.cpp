// A filter file of directory events, then a zero byte and the texts of an event, a zero byte behind
// each. The decision with the index must be that of asking each statement.

#include <wkagent/filter.h>

#include "fuzz/filter_check.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  Parts parts(data, size);
  static CheckedFilter<WKEDAFilter, WKEDAFilterStatement> filter;
  if (!filter.Read(parts.Next())) return 0;
  while (!parts.IsEmpty()) {
    const int operation = parts.NextNumber();
    std::string user = parts.Next(), node = parts.Next(), object = parts.Next();
    std::string className = parts.Next(), attribute = parts.Next(), value = parts.Next();
    filter.Check(
        [&](WKEDAFilter& decider) {
          return decider.PassFilter(operation, user.data(), node.data(), object.data(),
                                    className.data(), attribute.data(), value.data());
        },
        [&](WKEDAFilterStatement& statement) {
          return statement.PassStatement(operation, user.data(), node.data(), object.data(),
                                         className.data(), attribute.data(), value.data());
        });
  }
  return 0;
}
