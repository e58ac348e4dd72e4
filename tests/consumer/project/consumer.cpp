// A host as small as can be: it decides two events by a filter file, writes the one that is kept,
// and looks at the file. Its working directory is the agent home's bin, as every host's is.

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <wkagent/core.h>
#include <wkagent/filter.h>
#include <wkagent/output.h>
#include <wkagent/version.h>

namespace {

namespace fs = std::filesystem;

constexpr unsigned short kEntryDeleted = 20002;
constexpr unsigned short kEntryAdded = 20001;

constexpr const char* kFilterFile = R"(<?xml version="1.0"?>
<EDAFilters>
  <Filter Title="Deletions in sales" IncludeExclude="1" Enabled="1" AllDay="1"
          Context="sales.acme" IncludeSubContainers="1">
    <Users AllUsers="1"/>
    <Operations AllOperations="0"><Operation EventId="20002"/></Operations>
    <Objects AllObjects="1"/>
    <Classes AllClasses="1"/>
    <Attributes AllAttributes="1"/>
    <AttributeValues AllAttributeValues="1"/>
  </Filter>
</EDAFilters>
)";

void Check(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "consumer: not true: %s\n", what);
  std::exit(1);
}

void PrintLog(int /*level*/, char* message, char* /*extra*/) {
  std::printf("consumer: log: %s\n", message);
}

// Enters the bin folder of a fresh home.
fs::path EnterFreshHome() {
  std::string name = (fs::temp_directory_path() / "wkagent-consumer-XXXXXX").string();
  Check(mkdtemp(name.data()) != nullptr, "a home can be made");
  const fs::path home(name);
  for (const char* folder : {"bin", "config", "outbox", "tmp"}) fs::create_directory(home / folder);
  fs::current_path(home / "bin");
  return home;
}

tagWKEventData Deletion() {
  tagWKEventData event{};
  event.EventID = kEntryDeleted;
  event.EventTime = std::time(nullptr);
  std::snprintf(event.UserName, sizeof(event.UserName), "admin.acme");
  std::snprintf(event.Object1, sizeof(event.Object1), "bob.sales.acme");
  std::snprintf(event.Class1, sizeof(event.Class1), "inetOrgPerson");
  return event;
}

std::string ReadAll(const fs::path& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

void TryList() {
  CLinkList list;
  char written[] = "bob";
  list.AddNode(written, sizeof(written));
  char read[sizeof(written)] = {};
  list.SetHead();
  Check(list.GetNode(read, sizeof(read)) == 0, "the list has a node");
  Check(std::string(read) == written, "the node is what was added");
  Check(list.GetNode(read, sizeof(read)) == 1, "the list has no second node");
}

bool IsKept(WKEDAFilter& filter, unsigned short operation, tagWKEventData event) {
  char node[] = "192.0.2.7";
  return filter.PassFilter(operation, event.UserName, node, event.Object1, event.Class1, nullptr,
                           nullptr);
}

void TryFilter(const fs::path& home) {
  std::ofstream(home / "config" / "EDAFilter.xml") << kFilterFile;
  char name[] = "EDAFilter.xml";
  WKEDAFilter filter(name);
  Check(filter.GetReadError() == nullptr, "the filter file is read");
  Check(filter.statements.GetCount() == 1, "the filter has one statement");
  Check(IsKept(filter, kEntryDeleted, Deletion()), "a deletion is kept");
  Check(!IsKept(filter, kEntryAdded, Deletion()), "an addition is dropped");
}

void TryOutput(const fs::path& home) {
  const std::string live = (home / "tmp" / "EDALive.xml").string();
  {
    WKEDAOutputFile output(const_cast<char*>(live.c_str()), "EDAuditData", "EDADataRecords");
    output.InitializeLogMessage(PrintLog);
    Check(output.OpenFile() == 0, "the live file is opened");
    tagWKEventData event = Deletion();
    Check(output.WriteAuditData(&event) == 0, "the record is written");
    output.CloseFile();
    Check(ReadAll(live).find("bob.sales.acme") != std::string::npos, "the file has the record");
    Check(output.RenameLog() == 0, "the file is archived");
  }
  Check(!fs::exists(live) && !fs::is_empty(home / "outbox"), "the archive is in the outbox");
}

}  // namespace

int main() {
  const fs::path home = EnterFreshHome();
  TryList();
  TryFilter(home);
  TryOutput(home);
  fs::current_path("/");
  fs::remove_all(home);
  std::printf("consumer: wkagent %s does what it says\n", WKAGENT_VERSION);
}
