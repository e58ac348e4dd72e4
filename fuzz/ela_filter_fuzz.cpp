// A filter file of logins, then a zero byte and the parts of an event, a zero byte behind each.

#include <wkagent/filter.h>

#include "fuzz/filter_check.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  Parts parts(data, size);
  static CheckedFilter<WKELAFilter, WKELAFilterStatement> filter;
  if (!filter.Read(parts.Next())) return 0;
  while (!parts.IsEmpty()) {
    const int operation = parts.NextNumber();
    const int condition = parts.NextNumber();
    std::string user = parts.Next(), node = parts.Next();
    filter.Check(
        [&](WKELAFilter& decider) {
          return decider.PassFilter(operation, condition, user.data(), node.data());
        },
        [&](WKELAFilterStatement& statement) {
          return statement.PassStatement(operation, condition, user.data(), node.data());
        });
  }
  return 0;
}
