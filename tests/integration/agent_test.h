#ifndef WKAGENT_TESTS_INTEGRATION_AGENT_TEST_H
#define WKAGENT_TESTS_INTEGRATION_AGENT_TEST_H

// The agent as its operator meets it: a program with a home, a feed, messages and audit files.

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/agent_home.h"
#include "support/process.h"

namespace wkagent::test {

// A record of an audit file, as another parser than the library's reads it.
struct AuditRecord {
  std::string file;
  std::string code;
  std::string status;
  std::string user;
  std::string node;
  std::string class1;
  std::string object1;
  std::string attribute;
  std::string value;
  std::string class2;
  std::string object2;
  std::string server;
  std::string tree;
  std::string logDate;
  std::string utcDate;
};
void PrintTo(const AuditRecord& record, std::ostream* out);

// The figures of the line of totals.
struct Totals {
  long read = -1;
  long malformed = -1;
  long kept = -1;
  long dropped = -1;
  long archived = -1;
  long alerts = -1;

  bool operator==(const Totals&) const = default;
};
void PrintTo(const Totals& totals, std::ostream* out);

// The lines of totals that the agent has printed, oldest first.
[[nodiscard]] std::vector<Totals> TotalsIn(const std::string& output);

// A filter file's text: a file of the given statements; a statement that keeps everything; one that
// drops every event of a class.
[[nodiscard]] std::string FilterFile(std::initializer_list<std::string> statements);
[[nodiscard]] std::string KeepAll();
[[nodiscard]] std::string DropClass(const std::string& name);

// A line of the feed "jsonl": an event with these text fields, escaped.
[[nodiscard]] std::string JsonLine(
    int code, std::initializer_list<std::pair<const char*, std::string>> texts);

// The name n<number>.load.acme, the line of an event that adds it, and the lines of those from
// `first` to before `end`.
[[nodiscard]] std::string NumberedName(int number);
[[nodiscard]] std::string Numbered(int number);
[[nodiscard]] std::string Numbered(int first, int end);

// The command line of a program that starts another one: its own words, then that one's.
[[nodiscard]] std::vector<std::string> Through(std::vector<std::string> starter,
                                               const std::vector<std::string>& command);

// The same without the reports of sanitizers: without descriptors they can neither look for leaks
// at the end, nor name what they have found, by which they would know that it is to be let pass.
[[nodiscard]] std::vector<std::string> Unwatched(const std::vector<std::string>& command);

// A fresh home whose filter keeps everything, the agent that works in it, and what comes of it.
class AgentTest : public ::testing::Test {
 protected:
  AgentTest();

  // The agent's command line for this home, with what else is given.
  [[nodiscard]] std::vector<std::string> Command(const std::string& feed,
                                                 const std::vector<std::string>& more = {}) const;

  // Runs the agent to its end; a feed "jsonl:-" reads `input`.
  [[nodiscard]] Ended RunAgent(const std::string& feed, std::string_view input = {}) const;

  // Runs the agent on these lines and expects that it ends well: its totals.
  Totals Audit(const std::string& jsonLines) const;

  // All audit files below the home: archives, files set aside, live file.
  [[nodiscard]] std::vector<std::string> AuditFiles() const;

  // Their records in this order. Throws where a file is not well-formed, for either of two parsers,
  // or not an audit file.
  [[nodiscard]] std::vector<AuditRecord> Records() const;

  // The numbers of records made by Numbered, in the order of the records.
  [[nodiscard]] std::vector<int> Numbers() const;

  // True once the live file holds a text, or the record of a numbered event.
  [[nodiscard]] bool WaitForLive(const std::string& text) const;
  [[nodiscard]] bool WaitForEvent(int number) const;

  // The path of the home, without a slash at its end.
  [[nodiscard]] std::string HomePath() const;

  AgentHome home_;
};

// The numbers from `first` to before `end`, as Numbers gives them.
[[nodiscard]] std::vector<int> Range(int first, int end);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_INTEGRATION_AGENT_TEST_H
