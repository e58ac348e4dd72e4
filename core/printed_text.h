#ifndef WKAGENT_CORE_PRINTED_TEXT_H
#define WKAGENT_CORE_PRINTED_TEXT_H

namespace wkagent {

// What is printed for a text that may be unset.
[[nodiscard]] inline const char* TextOrEmpty(const char* text) {
  return text == nullptr ? "" : text;
}

}  // namespace wkagent

#endif  // WKAGENT_CORE_PRINTED_TEXT_H
