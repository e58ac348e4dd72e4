#ifndef WKAGENT_AGENT_CHECK_VALUE_PLACE_H
#define WKAGENT_AGENT_CHECK_VALUE_PLACE_H

#include <string>
#include <string_view>

namespace wkagent {

// Where a value of an XML file stands: in an attribute or, without one, in an element's content.
struct ValuePlace {
  std::string_view element;
  std::string_view attribute = {};
};

// The value as the file has it, for a message: User Name="bob", <PollInterval>10</PollInterval>. A
// long one is cut; no character of it can steer a terminal.
[[nodiscard]] std::string Quote(const ValuePlace& place, std::string_view value);

// What to write into the file, whole: Name="bob", <PollInterval>10</PollInterval>.
[[nodiscard]] std::string Write(const ValuePlace& place, std::string_view value);

// A text between quotation marks, for a message; cut like a value.
[[nodiscard]] std::string Quote(std::string_view text);

// The text without blanks and ends of lines at its ends.
[[nodiscard]] std::string_view WithoutBlanks(std::string_view text);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_VALUE_PLACE_H
