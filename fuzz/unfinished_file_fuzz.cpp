// An audit file whose writer was stopped. The first part tells where it is cut; values of records
// follow, a zero byte behind each, and behind an empty one any bytes for the end of the file.

#include "output/unfinished_file.h"

#include <algorithm>

#include "config/xml_library.h"
#include "fuzz/fuzz.h"
#include "output/record_text.h"
#include "support/agent_home.h"

namespace wkagent::fuzz {
namespace {

constexpr std::string_view kHead = "<?xml version=\"1.0\"?>\n<Root>\n  <Group>\n";
constexpr std::string_view kTail = "  </Group>\n</Root>\n";

std::string Record(const std::string& value) {
  if (value == "+") return "    <Record>\n      <Inner/>\n    </Record>\n";
  RecordText record;
  record.Begin("Record");
  record.Attribute("Value", std::string_view(value).substr(0, 300));
  record.End();
  return std::string(record.View());
}

bool IsXml(const std::string& text) {
  constexpr int kOptions = XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  return XmlDoc(xmlReadMemory(text.data(), static_cast<int>(text.size()), "", nullptr, kOptions)) !=
         nullptr;
}

}  // namespace
}  // namespace wkagent::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent;
  using namespace wkagent::fuzz;
  static const test::AgentHome home;
  Parts parts(data, size);
  const auto cut = static_cast<std::size_t>(std::abs(static_cast<long>(parts.NextNumber())));
  std::string text(kHead);
  for (std::string value; !(value = parts.Next()).empty();) text += Record(value);
  const std::string whole = text.append(kTail);
  text.resize(std::min(cut, text.size()));
  const std::string end = parts.Rest();
  home.Write("bin/live", text + end);
  const Completion result = CompleteFile("live", "Root", "Group");
  const std::string completed = home.Read("bin/live");
  Require(result != Completion::kFailed, "a file that can be written is completed");
  if (result == Completion::kWasComplete) return Require(completed == text + end, "it stays"), 0;
  Require(completed.empty() || completed.ends_with(kTail), "a completed file has its end");
  if (completed.empty() || !end.empty()) return 0;
  Require(IsXml(completed) || !IsXml(whole), "a completed file is XML");
  const std::string kept = completed.substr(0, completed.size() - kTail.size());
  Require(whole.starts_with(kept), "no record is changed");
  return 0;
}
