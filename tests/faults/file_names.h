#ifndef WKAGENT_TESTS_FAULTS_FILE_NAMES_H
#define WKAGENT_TESTS_FAULTS_FILE_NAMES_H

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace wkagent::faults {

// A fixed text that is cut where it does not fit.
class Text {
 public:
  Text& operator<<(std::string_view more) {
    const std::size_t size = std::min(more.size(), sizeof(text_) - 1 - length_);
    std::memcpy(text_ + length_, more.data(), size);
    length_ += size;
    text_[length_] = '\0';
    return *this;
  }
  Text& operator<<(long number) {
    char digits[24];
    char* at = digits + sizeof(digits);
    const bool negative = number < 0;
    do {
      *--at = static_cast<char>('0' + std::abs(number % 10));
      number /= 10;
    } while (number != 0);
    if (negative) *--at = '-';
    return *this << std::string_view(at, static_cast<std::size_t>(digits + sizeof(digits) - at));
  }
  void Up() {
    while (length_ > 0 && text_[--length_] != '/') continue;
    text_[length_] = '\0';
  }
  [[nodiscard]] const char* Get() const { return text_; }
  [[nodiscard]] std::string_view View() const { return {text_, length_}; }

 private:
  char text_[PATH_MAX] = {};
  std::size_t length_ = 0;
};

// The absolute path of a name as a call has it, without "." and "..", whether or not there is such
// a file; and that of an open file. Without memory, and past the C library.
void Resolve(std::string_view path, int folder, Text& whole);
void NameOf(int file, Text& whole);

}  // namespace wkagent::faults

#endif  // WKAGENT_TESTS_FAULTS_FILE_NAMES_H
