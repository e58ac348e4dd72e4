#include "integration/agent_test.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <numeric>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "support/conservation.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

constexpr char kFieldEnd = '\x1f';
constexpr char kRecordEnd = '\x1e';
constexpr std::size_t kFields = 23;  // the file's name and the attributes

AuditRecord ToRecord(const std::vector<std::string>& fields) {
  if (fields.size() != kFields) throw std::runtime_error("not a record of the helper");
  return {fields[0],  fields[4],  fields[5],  fields[6],  fields[8],
          fields[9],  fields[10], fields[12], fields[13], fields[14],
          fields[15], fields[17], fields[18], fields[21], fields[22]};
}

std::vector<AuditRecord> ToRecords(const std::string& text) {
  std::vector<AuditRecord> records;
  std::vector<std::string> fields(1);
  for (const char c : text) {
    if (c == kFieldEnd) {
      fields.emplace_back();
    } else if (c == kRecordEnd) {
      records.push_back(ToRecord(fields));
      fields.assign(1, {});
    } else {
      fields.back() += c;
    }
  }
  return records;
}

std::string Statement(bool include, const std::string& classes) {
  return std::string("<Filter Title=\"t\" IncludeExclude=\"") + (include ? "1" : "0") +
         "\" Enabled=\"1\" AllDay=\"1\" StartTime=\"00:00:00 AM\" EndTime=\"00:00:00 AM\" "
         "Context=\"\" IncludeSubContainers=\"1\">\n"
         "<Operations AllOperations=\"1\"/><Users AllUsers=\"1\"/><Objects AllObjects=\"1\"/>\n" +
         classes +
         "<Attributes AllAttributes=\"1\"/><AttributeValues AllAttributeValues=\"1\"/>\n"
         "<Action ExcludeAlert=\"0\"/><SNMP Alert=\"0\"/><SysLog Alert=\"0\"/><SMTP Alert=\"0\"/>\n"
         "</Filter>\n";
}

std::string JsonText(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    if (static_cast<unsigned char>(c) < 0x20) {
      std::array<char, 8> escape{};
      std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(c));
      quoted += escape.data();
    } else {
      quoted += c;
    }
  }
  return quoted + "\"";
}

// The number behind a word, -1 where there is none.
long FigureBehind(const std::string& word, const std::string& line) {
  const std::size_t found = line.find(word);
  if (found == std::string::npos) return -1;
  long figure = -1;
  std::istringstream(line.substr(found + word.size())) >> figure;
  return figure;
}

// The line of these totals, to the letter.
std::string LineOf(const Totals& totals) {
  std::ostringstream line;
  line << "wkagentd: totals: read " << totals.read << ", malformed " << totals.malformed
       << ", kept " << totals.kept << ", dropped " << totals.dropped << ", files archived "
       << totals.archived << ", alerts gathered " << totals.alerts;
  return line.str();
}

}  // namespace

void PrintTo(const AuditRecord& record, std::ostream* out) {
  *out << record.file << ": " << record.code << " " << record.user << " " << record.object1 << " "
       << record.attribute << "=" << record.value << " " << record.object2;
}

void PrintTo(const Totals& totals, std::ostream* out) { *out << LineOf(totals); }

std::vector<Totals> TotalsIn(const std::string& output) {
  std::vector<Totals> all;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    Totals totals;
    totals.read = FigureBehind("read ", line);
    totals.malformed = FigureBehind("malformed ", line);
    totals.kept = FigureBehind("kept ", line);
    totals.dropped = FigureBehind("dropped ", line);
    totals.archived = FigureBehind("files archived ", line);
    totals.alerts = FigureBehind("alerts gathered ", line);
    if (line == LineOf(totals)) all.push_back(totals);
  }
  return all;
}

std::string FilterFile(std::initializer_list<std::string> statements) {
  std::string text = "<?xml version=\"1.0\"?>\n<Filters>\n";
  for (const std::string& statement : statements) text += statement;
  return text + "</Filters>\n";
}

std::string KeepAll() { return Statement(true, "<Classes AllClasses=\"1\"/>\n"); }

std::string DropClass(const std::string& name) {
  return Statement(false, "<Classes AllClasses=\"0\"><Class Name=\"" + name + "\"/></Classes>\n");
}

std::string JsonLine(int code, std::initializer_list<std::pair<const char*, std::string>> texts) {
  std::string line = "{\"EventID\":" + std::to_string(code);
  for (const auto& [name, text] : texts) {
    line += std::string(",\"") + name + "\":" + JsonText(text);
  }
  return line + "}\n";
}

std::string NumberedName(int number) {
  return std::string("n").append(std::to_string(number)).append(".load.acme");
}

std::string Numbered(int number) {
  return JsonLine(20001, {{"UserName", "admin.acme"}, {"Object1", NumberedName(number)}});
}

std::string Numbered(int first, int end) {
  std::string lines;
  for (int number = first; number < end; ++number) lines += Numbered(number);
  return lines;
}

std::vector<std::string> Through(std::vector<std::string> starter,
                                 const std::vector<std::string>& command) {
  starter.insert(starter.end(), command.begin(), command.end());
  return starter;
}

std::vector<std::string> Unwatched(const std::vector<std::string>& command) {
  return Through({"env", "ASAN_OPTIONS=detect_leaks=0", "TSAN_OPTIONS=report_bugs=0"}, command);
}

AgentTest::AgentTest() { home_.Write("config/EDAFilter.xml", FilterFile({KeepAll()})); }

std::vector<std::string> AgentTest::Command(const std::string& feed,
                                            const std::vector<std::string>& more) const {
  // Without sending: a test must not write mail or log entries on the machine that it runs on.
  return Through({WKAGENT_AGENT, "--home", HomePath(), "--hold-alerts", "--feed", feed}, more);
}

Ended AgentTest::RunAgent(const std::string& feed, std::string_view input) const {
  Ended ended = RunToEnd(Command(feed), input, "/");
  ExpectConserved(ended.output);
  return ended;
}

Totals AgentTest::Audit(const std::string& jsonLines) const {
  const Ended ended = RunAgent("jsonl:-", jsonLines);
  EXPECT_EQ(0, ended.status) << ended.errors;
  const std::vector<Totals> totals = TotalsIn(ended.output);
  EXPECT_EQ(1U, totals.size()) << ended.output;
  return totals.empty() ? Totals() : totals.back();
}

std::vector<std::string> AgentTest::AuditFiles() const {
  std::vector<std::string> files;
  if (std::filesystem::is_directory(home_.Path("outbox"))) {
    for (const std::string& name : home_.Archives()) files.push_back(home_.Path("outbox/" + name));
  }
  if (!home_.Exists("tmp")) return files;
  for (const std::string& name : home_.List("tmp")) {
    if (name.ends_with(".pending")) files.push_back(home_.Path("tmp/" + name));
  }
  for (const char* live : {"tmp/EDALive.xml", "tmp/ELALive.xml"}) {
    if (home_.Exists(live)) files.push_back(home_.Path(live));
  }
  return files;
}

std::vector<AuditRecord> AgentTest::Records() const {
  const std::vector<std::string> files = AuditFiles();
  if (files.empty()) return {};
  std::vector<std::string> lint = {WKAGENT_XMLLINT, "--noout", "--nonet"};
  lint.insert(lint.end(), files.begin(), files.end());
  OutputOf(lint);
  std::vector<std::string> read = {WKAGENT_PYTHON, "-I",
                                   WKAGENT_SOURCE_DIR "/tests/integration/audit_files.py"};
  read.insert(read.end(), files.begin(), files.end());
  return ToRecords(OutputOf(read));
}

std::vector<int> AgentTest::Numbers() const {
  std::vector<int> numbers;
  for (const AuditRecord& record : Records())
    numbers.push_back(std::stoi(record.object1.substr(1)));
  return numbers;
}

bool AgentTest::WaitForLive(const std::string& text) const {
  return WaitUntil([&] { return home_.Read("tmp/EDALive.xml").find(text) != std::string::npos; });
}

bool AgentTest::WaitForEvent(int number) const {
  return WaitForLive(std::string("\"").append(NumberedName(number)).append("\""));
}

std::string AgentTest::HomePath() const {
  return std::filesystem::path(home_.Path("bin")).parent_path();
}

std::vector<int> Range(int first, int end) {
  std::vector<int> numbers(static_cast<std::size_t>(end - first));
  std::iota(numbers.begin(), numbers.end(), first);
  return numbers;
}

}  // namespace wkagent::test
