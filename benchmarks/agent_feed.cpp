// What reading a feed costs the whole agent: JSON lines against rsyslogd, which reads the same file
// (imfile, mmjsonparse) and writes the same attributes (omfile); a change log against "cat | wc
// -l", which does no more than look at each byte once; and its start with many statements.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "benchmarks/bench_home.h"
#include "benchmarks/change_log.h"
#include "benchmarks/program_results.h"
#include "support/process.h"

namespace {

using wkagent::bench::BenchHome;
using wkagent::bench::ProgramResults;
using wkagent::test::Process;

constexpr long kEvents = 1'000'000;
constexpr long kMegabyte = 1'000'000;
constexpr long kMostMemory = 32L * 1024;  // KiB

struct Figures {
  double cpu = 0;
  double wall = 0;
  long memory = 0;  // KiB
};

void WaitFor(const std::function<bool()>& done) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(5);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("it takes too long");
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

// Runs a program until it ends, which `end` may ask for once the work is done.
Figures Measure(
    const std::vector<std::string>& command,
    const std::function<void(Process&)>& end = [](auto&) {}) {
  const auto start = std::chrono::steady_clock::now();
  Process process(command);
  end(process);
  WaitFor([&] { return process.HasEnded(); });
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  if (process.Wait() != 0) throw std::runtime_error(command[0] + " failed\n" + process.Errors());
  return {process.CpuSeconds(), wall.count(), process.PeakMemory()};
}

// A statement on everything that happens to operations, in a container and by users.
void WriteStatement(std::ofstream& file, const std::string& operations, const std::string& context,
                    const std::string& users) {
  file << "<Filter Title=\"\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\" Context=\"" << context
       << "\" IncludeSubContainers=\"1\">" << operations << users
       << "<Objects AllObjects=\"1\"/><Classes AllClasses=\"1\"/><Attributes AllAttributes=\"1\"/>"
          "<AttributeValues AllAttributeValues=\"1\"/></Filter>\n";
}

constexpr char kAllOperations[] = "<Operations AllOperations=\"1\"/>";
constexpr char kAllUsers[] = "<Users AllUsers=\"1\"/>";

// So many statements, of which the last keeps every event and the others none.
void WriteManyStatements(const std::string& path, int count) {
  std::ofstream file(path);
  file << "<Filters>\n";
  for (int i = 1; i < count; ++i) {
    const std::string number = std::to_string(i);
    WriteStatement(
        file, "<Operations AllOperations=\"0\"><Operation EventId=\"20005\"/></Operations>",
        "OU=unit" + number + ",O=acme",
        "<Users AllUsers=\"0\"><User Name=\"CN=helpdesk" + number + ",OU=it,O=acme\"/></Users>");
  }
  WriteStatement(file, kAllOperations, "", kAllUsers);
  file << "</Filters>\n";
}

// A statement on all changes but those of plain attributes, as the home that ships has it first.
void WriteSecurityStatement(const std::string& path) {
  std::ofstream file(path);
  file << "<Filters>\n";
  std::string operations = "<Operations AllOperations=\"0\">";
  for (int code = 20001; code <= 20016; ++code) {
    if (code == 20005 || code == 20006) continue;
    operations += "<Operation EventId=\"" + std::to_string(code) + "\"/>";
  }
  WriteStatement(file, operations + "</Operations>", "", kAllUsers);
  file << "</Filters>\n";
}

void WriteEvents(const std::string& path, long count) {
  std::ofstream file(path);
  for (long i = 0; i < count; ++i) {
    file << R"({"EventID":20005,"Status":0,"UserName":"admin.acme","NodeAddress":"192.0.2.1",)"
         << R"("Class1":"inetOrgPerson","Object1":"user)" << i % 1000
         << R"(.sales.acme","Attribute1":"telephoneNumber","AttributeValue":"555-)" << i
         << R"(","ServerName":"ldap1","TreeName":"acme","EventTime":)" << 1795207563 + i / 100
         << "}\n";
  }
}

Figures RunAgent(const std::string& feed, const std::function<void(const std::string&)>& filter) {
  const BenchHome home;
  filter(home.Path() + "/config/EDAFilter.xml");
  const Figures figures =
      Measure({WKAGENT_AGENT, "--home", home.Path(), "--hold-alerts", "--feed", feed});
  if (figures.memory > kMostMemory) {
    throw std::runtime_error("wkagentd took " + std::to_string(figures.memory) + " KiB");
  }
  return figures;
}

// The attributes of a record; the dates as the event has them, and nothing is escaped.
constexpr char kRecord[] =
    R"(    <EDADataRecord Origin=\"EDA\" Source=\"Linux\" Category=\"eDirectory\")"
    R"( EventID=\"%$!EventID%\" Status=\"%$!Status%\" UserName=\"%$!UserName%\" UserGUID=\"\")"
    R"( NodeAddress=\"%$!NodeAddress%\" Class1=\"%$!Class1%\" Object1=\"%$!Object1%\")"
    R"( ObjectGuid1=\"\" Attribute1=\"%$!Attribute1%\" AttributeValue=\"%$!AttributeValue%\")"
    R"( Class2=\"%$!Class2%\" Object2=\"%$!Object2%\" ObjectGuid2=\"\")"
    R"( ServerName=\"%$!ServerName%\" TreeName=\"%$!TreeName%\" RecordHash=\"\")"
    R"( InsertDate=\"%$!EventTime%\" LogDate=\"%$!EventTime%\" UTCDate=\"%$!EventTime%\"/>\n)";

long CountLines(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::count(std::istreambuf_iterator<char>(file), {}, '\n');
}

// True when the file ends with the record of the last event.
bool IsComplete(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  file.seekg(-static_cast<long>(sizeof(kRecord)), std::ios::end);
  const std::string end(std::istreambuf_iterator<char>(file), {});
  return end.ends_with('\n') &&
         end.find("\"555-" + std::to_string(kEvents - 1) + "\"") != std::string::npos;
}

Figures RunRsyslogd(const std::string& events) {
  const BenchHome home;
  const std::string work = home.Path() + "/tmp";
  std::ofstream(work + "/conf")
      << "global(workDirectory=\"" << work << "\")\n"
      << "module(load=\"imfile\")\nmodule(load=\"mmjsonparse\")\n"
      // One thread, so that the records keep their order.
      << "main_queue(queue.type=\"LinkedList\" queue.workerThreads=\"1\")\n"
      << "template(name=\"record\" type=\"string\" string=\"" << kRecord << "\")\n"
      << "input(type=\"imfile\" file=\"" << events << "\" tag=\"events\" ruleset=\"write\")\n"
      << "ruleset(name=\"write\") { action(type=\"mmjsonparse\" cookie=\"\")\n"
      << "  action(type=\"omfile\" file=\"" << work << "/records\" template=\"record\") }\n";
  const std::string records = work + "/records";
  const Figures figures =
      Measure({WKAGENT_RSYSLOGD, "-n", "-M", WKAGENT_RSYSLOG_MODULES, "-f", work + "/conf", "-i",
               work + "/pid"},
              [&](Process& rsyslogd) {
                WaitFor([&] { return IsComplete(records) || rsyslogd.HasEnded(); });
                rsyslogd.Signal(SIGTERM);
              });
  if (CountLines(records) != kEvents) throw std::runtime_error("rsyslogd lost records");
  return figures;
}

// A folder that is removed with all that is in it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no folder for the feeds");
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] std::string Path(const char* name) const { return path_ + '/' + name; }

 private:
  std::string path_ = std::filesystem::temp_directory_path() / "wkagent-feeds-XXXXXX";
};

// The feeds, in a folder of their own, and what each contender makes of them.
class Feeds {
 public:
  explicit Feeds(ProgramResults& results) : results_(results) {
    WriteEvents(events_, kEvents);
    WriteEvents(event_, 1);
    wkagent::bench::WriteChangeLog(small_, 64 * kMegabyte);
    wkagent::bench::WriteChangeLog(large_, 1000 * kMegabyte);
  }

  void Compare(int round) {
    Add("jsonl-1000000/wkagentd", round, RunAgent("jsonl:" + events_, [](const std::string& path) {
          WriteManyStatements(path, 100);
        }));
    Add("jsonl-1000000/rsyslogd", round, RunRsyslogd(events_));
    Add("auditlog-64MB/wkagentd", round, RunAgent("auditlog:" + small_, WriteSecurityStatement));
    Add("auditlog-1GB/wkagentd", round, RunAgent("auditlog:" + large_, WriteSecurityStatement));
    Add("auditlog-1GB/cat-wc", round, Measure({"sh", "-c", "cat " + large_ + " | wc -l"}));
    Add("start-1000-statements/wkagentd", round,
        RunAgent("jsonl:" + event_,
                 [](const std::string& path) { WriteManyStatements(path, 1000); }));
  }

 private:
  void Add(const std::string& name, int round, const Figures& figures) {
    results_.Add("agent_feed/" + name, round, figures.cpu, figures.wall);
    std::printf("%-32s %8.3f s CPU %8.3f s wall %8ld KiB\n", name.c_str(), figures.cpu,
                figures.wall, figures.memory);
    std::fflush(stdout);
  }

  ProgramResults& results_;
  const TemporaryFolder folder_;
  const std::string events_ = folder_.Path("events");
  const std::string event_ = folder_.Path("event");
  const std::string small_ = folder_.Path("small.ldif");
  const std::string large_ = folder_.Path("large.ldif");
};

}  // namespace

int main(int argc, char** argv) {
  try {
    ProgramResults results(argc, argv);
    Feeds feeds(results);
    for (int round = 0; round < results.Repetitions(); ++round) feeds.Compare(round);
    results.Write();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "agent_feed: %s\n", error.what());
    return 70;
  }
}
