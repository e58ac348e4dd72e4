#include "core/literal_format.h"

namespace wkagent {

std::string ExpandLiteralFormat(std::string_view text) {
  std::string expanded;
  expanded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    expanded += text[i];
    if (text[i] == '%' && i + 1 < text.size() && text[i + 1] == '%') ++i;
  }
  return expanded;
}

}  // namespace wkagent
