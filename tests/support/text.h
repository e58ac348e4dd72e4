#ifndef WKAGENT_TESTS_SUPPORT_TEXT_H
#define WKAGENT_TESTS_SUPPORT_TEXT_H

#include <string>

namespace wkagent::test {

// A text for methods that take `char*`: Text("bob") converts to a pointer to its own copy.
class Text {
 public:
  explicit Text(std::string text) : text_(std::move(text)) {}
  operator char*() { return text_.data(); }

 private:
  std::string text_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_TEXT_H
