#ifndef WKAGENT_TESTS_SUPPORT_LOG_RECORDER_H
#define WKAGENT_TESTS_SUPPORT_LOG_RECORDER_H

#include <string>
#include <vector>

namespace wkagent::test {

// Records what objects log. The callback has no context argument, so the record is the process's:
// at most one LogRecorder at a time.
class LogRecorder {
 public:
  struct Line {
    int level;
    std::string message;
    std::string extra;
  };

  LogRecorder() { lines_.clear(); }

  // For InitializeLogMessage.
  static void Callback(int level, char* message, char* extra) {
    lines_.push_back({level, message, extra});
  }

  [[nodiscard]] static const std::vector<Line>& Lines() { return lines_; }

  [[nodiscard]] static std::vector<std::string> Messages() {
    std::vector<std::string> messages;
    for (const Line& line : lines_) messages.push_back(line.message);
    return messages;
  }

 private:
  static inline std::vector<Line> lines_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_LOG_RECORDER_H
