#ifndef WKAGENT_TESTS_OUTPUT_OUTPUT_FIXTURE_H
#define WKAGENT_TESTS_OUTPUT_OUTPUT_FIXTURE_H

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/output.h>

#include "output/audit_file.h"
#include "support/agent_home.h"
#include "support/log_recorder.h"
#include "support/text.h"

namespace wkagent::test {

// An output file that logs to the LogRecorder.
template <typename Output>
class Logged : public Output {
 public:
  explicit Logged(const std::string& file = "live.xml", const std::string& root = "EDAuditData",
                  const std::string& group = "EDADataRecords")
      : Output(Text(file), root.c_str(), group.c_str()) {
    this->InitializeLogMessage(&LogRecorder::Callback);
  }
};
using LoggedOutput = Logged<WKOutputFile>;

// Writes the records number `first` to `last`; returns how many of the calls failed.
inline int WriteNumbers(WKOutputFile& output, int first, int last) {
  int failures = 0;
  for (int number = first; number <= last; ++number) {
    failures += output.WriteStartRecord("Record");
    failures += output.WriteElementAttribute("Number", std::to_string(number).c_str());
    failures += output.WriteEndRecord();
  }
  return failures;
}

// The numbers `first` to `last`.
inline std::vector<int> Range(int first, int last) {
  std::vector<int> numbers;
  for (int number = first; number <= last; ++number) numbers.push_back(number);
  return numbers;
}

// The process works in the home's bin, where "live.xml" is written.
class OutputTest : public ::testing::Test {
 protected:
  // The paths of the archives and of what is set aside for live.xml, sorted.
  [[nodiscard]] std::vector<std::string> Archives() const { return Paths("outbox", ".xml"); }
  [[nodiscard]] std::vector<std::string> SetAside() const { return Paths("bin", ".pending"); }

  // The record numbers over several files, in the order of the files.
  [[nodiscard]] static std::vector<int> Numbers(const std::vector<std::string>& paths) {
    std::vector<int> numbers;
    for (const AuditFile& file : ParseAuditFiles(paths)) {
      for (const int number : file.Numbers()) numbers.push_back(number);
    }
    return numbers;
  }

  // The record numbers of the only archive, which is taken out of the outbox as an agent's transfer
  // side does.
  [[nodiscard]] std::vector<int> TakeArchive() const {
    const std::vector<std::string> archives = Archives();
    if (archives.size() != 1) return {};
    std::vector<int> numbers = Numbers(archives);
    std::filesystem::remove(archives[0]);
    return numbers;
  }

  void LoseOutbox() const {
    std::filesystem::rename(home_.Path("outbox"), home_.Path("outbox.lost"));
  }
  void RestoreOutbox() const {
    std::filesystem::rename(home_.Path("outbox.lost"), home_.Path("outbox"));
  }

  AgentHome home_;
  LogRecorder log_;

 private:
  [[nodiscard]] std::vector<std::string> Paths(const std::string& folder,
                                               const std::string& ending) const {
    std::vector<std::string> paths;
    if (!home_.Exists(folder)) return paths;
    for (const std::string& name : home_.List(folder)) {
      if (name != "live.xml" && name.ends_with(ending))
        paths.push_back("../" + folder + "/" + name);
    }
    return paths;
  }
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_OUTPUT_OUTPUT_FIXTURE_H
