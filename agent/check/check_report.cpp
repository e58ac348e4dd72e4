#include "agent/check/check_report.h"

#include <algorithm>
#include <cstdio>

namespace wkagent {

void CheckReport::Error(long line, std::string text) {
  ++errors_;
  lines_.push_back({line, "error: " + std::move(text)});
}

void CheckReport::Warning(long line, std::string text) {
  ++warnings_;
  lines_.push_back({line, "warning: " + std::move(text)});
}

void CheckReport::Add(long line, const std::optional<Finding>& finding) {
  if (!finding) return;
  finding->severity == Severity::kError ? Error(line, finding->text) : Warning(line, finding->text);
}

void CheckReport::Note(long line, const std::string& text) const {
  std::printf("%snote: %s\n", Position(line).c_str(), text.c_str());
}

void CheckReport::PrintFindings() {
  std::fflush(stdout);  // on a terminal, what was understood stands before what was not
  std::stable_sort(lines_.begin(), lines_.end(), [](const Line& left, const Line& right) {
    // What is true of the whole file comes of its lines, so it stands last.
    return (left.number != 0 && right.number == 0) ||
           (left.number != 0 && left.number < right.number);
  });
  for (const Line& line : lines_) {
    std::fprintf(stderr, "%s%s\n", Position(line.number).c_str(), line.text.c_str());
  }
  lines_.clear();
}

std::string CheckReport::Position(long line) const {
  return line > 0 ? path_ + ":" + std::to_string(line) + ": " : path_ + ": ";
}

}  // namespace wkagent
