#ifndef WKAGENT_CORE_LITERAL_FORMAT_H
#define WKAGENT_CORE_LITERAL_FORMAT_H

#include <string>
#include <string_view>

namespace wkagent {

// What printf prints for `text` as a format without arguments, made safe: "%%" becomes "%", and a
// conversion, which would need an argument, stays as it stands.
[[nodiscard]] std::string ExpandLiteralFormat(std::string_view text);

}  // namespace wkagent

#endif  // WKAGENT_CORE_LITERAL_FORMAT_H
