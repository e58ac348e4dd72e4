// Texts that are their own format.

#include "core/literal_format.h"

#include <cstdarg>

#include "fuzz/fuzz.h"

namespace {

// What printf(3) makes of a format that needs no arguments.
std::string Printed(const char* format, ...) {
  va_list none;
  va_start(none, format);
  std::string text(std::char_traits<char>::length(format) + 1, '\0');
  text.resize(static_cast<std::size_t>(std::vsnprintf(text.data(), text.size(), format, none)));
  va_end(none);
  return text;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  const std::string text = Parts(data, size).Next();
  std::string doubled;
  for (const char c : text) doubled.append(c == '%' ? 2 : 1, c);
  Require(wkagent::ExpandLiteralFormat(doubled) == text, "a doubled % is one");
  Require(wkagent::ExpandLiteralFormat(doubled) == Printed(doubled.c_str()),
          "the result is that of printf");
  const std::string expanded = wkagent::ExpandLiteralFormat(text);
  Require(expanded.size() <= text.size(), "a text never grows");
  const bool single = text.find("%%") == std::string::npos;
  Require(!single || expanded == text, "a conversion stays as it stands");
  return 0;
}
