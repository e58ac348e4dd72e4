#include "crash/crash_home.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "integration/agent_test.h"
#include "support/process.h"

namespace wkagent::test {
namespace {

constexpr char kKeepWithAlert[] =
    "<Filter Title=\"t\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\" Context=\"\" "
    "IncludeSubContainers=\"1\"/><Operations AllOperations=\"1\"/><Users AllUsers=\"1\"/>"
    "<Objects AllObjects=\"1\"/><Classes AllClasses=\"1\"/><Attributes AllAttributes=\"1\"/>"
    "<AttributeValues AllAttributeValues=\"1\"/><SysLog Alert=\"1\"/>";

constexpr char kKeepLogins[] =
    "<F><Filter Title=\"\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\"/>"
    "<Operations AllOperations=\"1\"/><Users AllUsers=\"1\"/><Nodes AllNodes=\"1\"/></F>";

std::string NamedIn(const std::string& unit, int number) {
  return "n" + std::to_string(number) + "." + unit + ".acme";
}

// The text of the files in a folder whose names begin so.
std::string TextOfFiles(const std::filesystem::path& folder, const std::string& prefix) {
  std::ostringstream text;
  std::error_code missing;
  for (const auto& entry : std::filesystem::directory_iterator(folder, missing)) {
    if (!entry.path().filename().string().starts_with(prefix)) continue;
    std::ifstream file(entry.path());
    if (file.peek() != std::ifstream::traits_type::eof()) text << file.rdbuf();  // not an empty one
  }
  return text.str();
}

}  // namespace

CrashFeed JsonFeed(int first, int end) {
  CrashFeed feed{.kind = "jsonl:"};
  for (int number = first; number < end; ++number) {
    const std::string name = NamedIn("load", number);
    if (number % 9 == 4) {
      feed.text += "nonsense\n";
      ++feed.malformed;
    } else if (number % 9 == 7) {
      feed.text += JsonLine(20005, {{"Object1", name}, {"Class1", "unwanted"}});
      ++feed.dropped;
    } else if (number % 3 == 2) {
      feed.text += JsonLine(21001, {{"UserName", name}});
      feed.expected.logins.push_back(name);
    } else {
      feed.text += JsonLine(20005, {{"Object1", name}, {"AttributeValue", "v"}});
      feed.expected.changes.push_back(name + "=v");
    }
  }
  return feed;
}

CrashFeed ChangeLogFeed(int first, int end) {
  CrashFeed feed{.kind = "auditlog:"};
  for (int number = first; number < end; ++number) {
    const bool malformed = number % 9 == 4;
    feed.malformed += malformed ? 1 : 0;
    feed.text += "# modify 1795207563 o=acme cn=admin,o=acme IP=192.0.2.7:35568 conn=1\ndn: cn=n" +
                 std::to_string(number) +
                 ",ou=load,o=acme\nchangetype: " + (malformed ? "none" : "modify") +
                 "\nadd: description\n";
    for (const std::string value : {"a", "b", "c"}) {
      feed.text += "description: " + value + "\n";
      if (!malformed) feed.expected.changes.push_back(NamedIn("load", number) + "=" + value);
    }
    feed.text += "-\n# end modify 1795207563\n\n";
  }
  return feed;
}

CrashHome::CrashHome(const std::filesystem::path& folder) : folder_(folder) {
  for (const char* name : {"bin", "config", "outbox", "tmp"}) {
    std::filesystem::create_directories(folder_ / name);
  }
  Write("config/EDAFilter.xml", FilterFile({kKeepWithAlert, DropClass("unwanted")}));
  Write("config/ELAFilter.xml", kKeepLogins);
  Write("config/DaemonSettings.xml", "<S><ArmThreshold>10</ArmThreshold></S>");
}

void CrashHome::Write(const std::string& name, const std::string& text) const {
  std::ofstream(folder_ / name, std::ios::binary) << text;
}

void CrashHome::Append(const std::string& name, const std::string& text) const {
  std::ofstream(folder_ / name, std::ios::binary | std::ios::app) << text;
}

std::vector<std::string> CrashHome::Command(const std::string& kind, bool follow) const {
  std::vector<std::string> command = {
      WKAGENT_AGENT, "--home", Path(), "--hold-alerts", "--syslog", "--feed", kind + Path("feed")};
  if (follow) command.emplace_back("--follow");
  return command;
}

bool CrashHome::HasPosition() const { return std::filesystem::exists(Path("tmp/read.position")); }

std::string CrashHome::Spool() const { return TextOf("tmp", "SysLog."); }

bool CrashHome::HasRecords() const {
  const std::string text = TextOf("outbox", "E") + TextOf("tmp", "E");
  return text.find("DataRecord ") != std::string::npos;
}

std::string CrashHome::TextOf(const std::string& folder, const std::string& prefix) const {
  return TextOfFiles(folder_ / folder, prefix);
}

std::size_t CrashHome::Archives() const {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder_ / "outbox")) {
    count += entry.path().filename().string().starts_with("E") ? 1 : 0;
  }
  return count;
}

std::size_t CrashHome::TakeArchives() {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder_ / "outbox")) {
    names.insert(entry.path().filename().string());
  }
  std::filesystem::create_directory(folder_ / "taken");
  for (const std::string& name : names) {
    if (!name.starts_with("E")) continue;
    std::string number = std::to_string(taken_++);
    number.insert(0, 8 - number.size(), '0');
    std::filesystem::rename(folder_ / "outbox" / name,
                            folder_ / "taken" / name.substr(0, 3).append(number).append(".xml"));
  }
  return taken_;
}

std::string CrashHome::LatestRecords() const {
  std::string latest;
  for (const auto& entry : std::filesystem::directory_iterator(folder_ / "outbox")) {
    const std::string name = entry.path().filename().string();
    if (name.starts_with("EDA")) latest = std::max(latest, name);
  }
  return (latest.empty() ? "" : TextOf("outbox", latest)) + TextOf("tmp", "EDALive.xml");
}

std::string StoredLines() { return TextOfFiles(kRetryStore, ""); }

std::map<std::string, AuditedEvents> ReadHomes(const std::vector<std::string>& homes) {
  std::vector<std::string> command = {WKAGENT_PYTHON, "-I",
                                      WKAGENT_SOURCE_DIR "/tests/crash/audit_records.py"};
  command.insert(command.end(), homes.begin(), homes.end());
  std::map<std::string, AuditedEvents> found;
  std::istringstream output(OutputOf(command));
  for (std::string line; std::getline(output, line);) {
    std::istringstream words(line);
    std::string home;
    std::string kind;
    words >> home >> kind;
    AuditedEvents& events = found[home];
    for (std::string key; words >> key;) {
      (kind == "EDA" ? events.changes : events.logins).push_back(key);
    }
  }
  return found;
}

}  // namespace wkagent::test
