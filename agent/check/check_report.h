#ifndef WKAGENT_AGENT_CHECK_CHECK_REPORT_H
#define WKAGENT_AGENT_CHECK_CHECK_REPORT_H

#include <optional>
#include <string>
#include <vector>

namespace wkagent {

// An error makes the agent refuse to start, or do other than what is written, without a word; a
// warning is the rest of what is worth a second look.
enum class Severity { kError, kWarning };

// What is wrong with a value, and what to write instead.
struct Finding {
  Severity severity;
  std::string text;
};

// Everything found in one file. It prints notes, which belong to what was understood, at once on
// standard output, and the rest in the order of the lines on standard error, what concerns the
// whole file last.
class CheckReport {
 public:
  explicit CheckReport(std::string path) : path_(std::move(path)) {}

  // A line of 0 stands for the whole file.
  void Error(long line, std::string text);
  void Warning(long line, std::string text);
  void Add(long line, const std::optional<Finding>& finding);
  void Note(long line, const std::string& text) const;

  void PrintFindings();

  [[nodiscard]] const std::string& Path() const { return path_; }
  [[nodiscard]] long Errors() const { return errors_; }
  [[nodiscard]] long Warnings() const { return warnings_; }

 private:
  struct Line {
    long number;
    std::string text;
  };

  [[nodiscard]] std::string Position(long line) const;

  std::string path_;
  std::vector<Line> lines_;
  long errors_ = 0;
  long warnings_ = 0;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_CHECK_CHECK_REPORT_H
