#ifndef WKAGENT_TESTS_COLLECTORS_NUMBERED_LINES_H
#define WKAGENT_TESTS_COLLECTORS_NUMBERED_LINES_H

#include <cstddef>
#include <string>
#include <vector>

#include "support/sanitized.h"

namespace wkagent::test {

// How many lines, of a number that is meant for the build that ships. A sanitizer slows the sender
// down, so that there are a tenth of them.
#ifdef WKAGENT_TEST_SANITIZED
constexpr int Scaled(int count) { return count / 10; }
#else
constexpr int Scaled(int count) { return count; }
#endif

// A line that bears its number, and now and then what collectors tend to change: a digit or a
// priority at its beginning, blanks at its ends, control characters, bytes that are no UTF-8,
// several thousand characters.
[[nodiscard]] std::string NumberedLine(int number);

// A line that is none of them and is not counted: the last one, after which all have arrived.
inline constexpr char kMark[] = "the end";

// What has become of the numbered lines 0 up to, not including, some number.
struct Tally {
  std::size_t arrived = 0;   // different ones
  std::size_t again = 0;     // arrivals of one that had arrived before
  std::size_t torn = 0;      // lines that are none of them
  bool inOrder = true;       // each arrival is of a later line than the one before
  std::vector<int> missing;  // those that never arrived
  std::size_t missingBytes = 0;

  [[nodiscard]] std::size_t Lost() const { return missing.size(); }
};

// Counts the numbered lines in a collector's file.
[[nodiscard]] Tally CountLines(const std::string& text, int sent);

// The number that a numbered line bears, -1 where the line is none.
[[nodiscard]] int NumberOf(const std::string& line);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_COLLECTORS_NUMBERED_LINES_H
