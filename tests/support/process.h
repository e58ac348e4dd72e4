#ifndef WKAGENT_TESTS_SUPPORT_PROCESS_H
#define WKAGENT_TESTS_SUPPORT_PROCESS_H

#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "core/handles.h"

namespace wkagent::test {

// Where a Process gets its standard input from: nothing at all, or what the test writes.
enum class Input { kEmpty, kFromTest };

// A program that runs as a child of the test, with its outputs captured. It is killed, by its id,
// when the object ends, and when the thread that started it ends without that.
class Process {
 public:
  // Starts `command`, whose first word is looked up in PATH unless it is a path; the program works
  // in `folder`, or where the test does. Throws where it cannot be started.
  explicit Process(const std::vector<std::string>& command, Input input = Input::kEmpty,
                   const std::string& folder = ".");
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  // Writes to the program's standard input. Throws where the program does not take it.
  void Write(std::string_view text);
  void CloseInput() { input_.Reset(); }

  [[nodiscard]] pid_t Id() const { return id_; }

  void Signal(int number) const;

  // Waits until the program has ended; its exit status, or 128 and the number of the signal that
  // ended it. Throws at the deadline.
  int Wait();

  [[nodiscard]] bool HasEnded();

  // What the program has written so far.
  [[nodiscard]] std::string Output() const;
  [[nodiscard]] std::string Errors() const;

  // The most memory, in KiB, that the program had resident, and the seconds of processor time that
  // it took; once it has ended.
  [[nodiscard]] long PeakMemory() const { return peakMemory_; }
  [[nodiscard]] double CpuSeconds() const { return cpuSeconds_; }

 private:
  pid_t id_ = -1;
  Fd input_;
  Fd output_;
  Fd errors_;
  bool ended_ = false;
  int status_ = 0;
  long peakMemory_ = 0;
  double cpuSeconds_ = 0;
};

// What a program that has ended left behind.
struct Ended {
  int status;
  std::string output;
  std::string errors;
};

// Runs a program to its end, with `input` as its standard input.
Ended RunToEnd(const std::vector<std::string>& command, std::string_view input = {},
               const std::string& folder = ".");

// The same for a helper of the test: its output. Throws, with its messages, where it fails.
std::string OutputOf(const std::vector<std::string>& command, std::string_view input = {});

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_PROCESS_H
