// A batch file of lines that wait to be sent again.

#include <filesystem>
#include <sstream>
#include <vector>

#include "fuzz/fuzz.h"
#include "support/agent_home.h"
#include "syslog/framed_lines.h"
#include "syslog/pending_files.h"

namespace wkagent::fuzz {
namespace {

std::vector<std::string> ReadBack(const test::AgentHome& home, std::string_view bytes) {
  home.Write("tmp/nsa_batch_1.log", std::string(bytes));
  PendingFile file(home.Path("tmp/nsa_batch_1.log"));
  Require(file.IsOpen() && !file.IsBusy(), "a batch file can be opened");
  std::vector<std::string> lines;
  std::string line;
  while (file.ReadLine(line)) lines.push_back(line);
  Require(file.IsAtEnd(), "a batch file is read to its end");
  return lines;
}

}  // namespace
}  // namespace wkagent::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  static const wkagent::test::AgentHome home;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const std::vector<std::string> lines = ReadBack(home, bytes);
  std::string joined;
  for (const std::string& line : lines) joined.append(line).append("\n");
  Require(bytes.empty() || bytes.ends_with('\n') ? joined == bytes : joined == bytes + '\n',
          "the lines are those of the file");
  const wkagent::FramedLines framed(lines);
  Require(framed.View() == joined, "lines are framed as they were stored");
  Require(ReadBack(home, framed.View()) == lines, "framed lines come back");
  return 0;
}
