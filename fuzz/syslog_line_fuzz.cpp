// The bytes of an event, in its fields' order, as the message for a syslog collector: one line,
// whose structured data parse back to the fields.

#include "agent/syslog_line.h"

#include <algorithm>
#include <cstring>

#include "core/bounded_copy.h"
#include "fuzz/fuzz.h"

namespace wkagent::fuzz {
namespace {

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

// The value of a parameter (RFC 5424), whose opening quote has been taken off `rest`.
std::string TakeValue(std::string_view& rest) {
  std::string value;
  for (; !rest.starts_with('"'); rest.remove_prefix(1)) {
    Require(!rest.starts_with(']'), "a bracket in a value is escaped");
    if (rest.starts_with('\\')) rest.remove_prefix(1);
    Require(!rest.empty(), "a value has an end");
    value += rest[0];
  }
  rest.remove_prefix(1);
  return value;
}

// Takes the parameter of a field that is not empty; its name is for other tests.
template <std::size_t kSize>
void Check(std::string_view& rest, const char (&field)[kSize]) {
  const std::string_view text = BoundedView(field);
  if (text.empty()) return;
  rest.remove_prefix(std::min(rest.find("=\"") + 2, rest.size()));
  const std::string value = TakeValue(rest);
  const bool plain = std::none_of(text.begin(), text.end(), IsControl) &&
                     text.find('\xC2') == std::string_view::npos;
  Require(!plain || value == text, "a value comes back as it was");
}

}  // namespace
}  // namespace wkagent::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  tagWKEventData event{};
  std::memcpy(&event, data, std::min(size, sizeof(event)));
  wkagent::SyslogLine formatter("host", 1);
  const std::string line = formatter.Format(event, "EDA");
  Require(std::none_of(line.begin(), line.end(), IsControl), "a message is one line");
  std::string_view rest = line;
  rest.remove_prefix(std::min(rest.find(" Status=\""), rest.size()));
  rest.remove_prefix(std::min(rest.find("\" "), rest.find("\"]")) + 1);
  const auto checkAll = [&rest](const auto&... fields) { (Check(rest, fields), ...); };
  checkAll(event.UserName, event.NodeAddress, event.Class1, event.Object1, event.Attribute1,
           event.AttributeValue, event.Class2, event.Object2, event.ServerName, event.TreeName);
  Require(rest == "]", "nothing stands behind the fields");
  return 0;
}
