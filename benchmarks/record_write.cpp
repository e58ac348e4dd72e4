// What one audit record costs, the file being rotated at every 500: WriteAuditData against the bare
// text writer of libxml2, which gets each value as a text made beforehand, and against a writer of
// the same bytes by hand, which is the least that the format allows. All three write the same
// bytes, which is checked first. Two further cases show how the cost grows with the length of a
// value, and with the size of the files.

#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <libxml/xmlwriter.h>
#include <unistd.h>

#include <wkagent/output.h>

#include "bench_home.h"

namespace {

constexpr int kUsualRecords = 500;  // a file
constexpr char kRoot[] = "EDAuditData";
constexpr char kGroup[] = "EDADataRecords";
constexpr char kRecord[] = "EDADataRecord";
constexpr std::time_t kFirstTime = 1'800'000'000;
constexpr int kEventsPerSecond = 100;

struct Attribute {
  const char* name;
  std::string value;
};

std::string DateText(std::time_t time, tm* (*convert)(const time_t*, tm*)) {
  tm parts{};
  convert(&time, &parts);
  char text[64];
  std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &parts);
  return text;
}

template <std::size_t kSize>
void Fill(char (&field)[kSize], std::string_view text) {
  text.copy(field, kSize - 1);
}

// A value of so many characters, or a usual one where it is negative.
std::string ValueOf(int number, int length) {
  const std::string value = "+49 <30> 555-" + std::to_string(number);
  if (length < 0) return value;
  std::string repeated;
  while (repeated.size() < static_cast<std::size_t>(length)) repeated += value;
  return repeated.substr(0, static_cast<std::size_t>(length));
}

tagWKEventData EventOf(int number, int length) {
  tagWKEventData event{};
  event.EventID = 20005;
  Fill(event.UserName, "admin" + std::to_string(number % 7) + ".it.acme");
  Fill(event.NodeAddress, "192.0.2." + std::to_string(number % 250));
  Fill(event.Class1, "inetOrgPerson");
  Fill(event.Object1, "jsmith" + std::to_string(number % 1000) + ".sales.emea.acme");
  Fill(event.Attribute1, "telephoneNumber");
  Fill(event.AttributeValue, ValueOf(number, length));
  Fill(event.ServerName, "ldap1.acme.example");
  Fill(event.TreeName, "dc=acme,dc=example");
  event.EventTime = kFirstTime + number / kEventsPerSecond;
  return event;
}

std::vector<Attribute> AttributesOf(const tagWKEventData& event) {
  const std::string local = DateText(event.EventTime, localtime_r);
  return {{"Origin", "EDA"},
          {"Source", "Linux"},
          {"Category", "eDirectory"},
          {"EventID", std::to_string(event.EventID)},
          {"Status", std::to_string(event.Status)},
          {"UserName", event.UserName},
          {"UserGUID", ""},
          {"NodeAddress", event.NodeAddress},
          {"Class1", event.Class1},
          {"Object1", event.Object1},
          {"ObjectGuid1", ""},
          {"Attribute1", event.Attribute1},
          {"AttributeValue", event.AttributeValue},
          {"Class2", event.Class2},
          {"Object2", event.Object2},
          {"ObjectGuid2", ""},
          {"ServerName", event.ServerName},
          {"TreeName", event.TreeName},
          {"RecordHash", ""},
          {"InsertDate", local},
          {"LogDate", local},
          {"UTCDate", DateText(event.EventTime, gmtime_r)}};
}

// The events, and their values for those who get them ready-made.
struct Input {
  explicit Input(int count, int length = -1, int perFile = kUsualRecords)
      : recordsPerFile(perFile) {
    for (int i = 0; i < count; ++i) {
      events.push_back(EventOf(i, length));
      attributes.push_back(AttributesOf(events.back()));
    }
  }

  const int recordsPerFile;
  std::vector<tagWKEventData> events;
  std::vector<std::vector<Attribute>> attributes;
};

class Wkagent {
 public:
  explicit Wkagent(const Input& input) : input_(input) {
    output_.InitializeLogMessage([](int, char*, char*) {});
    output_.SetThresholdLimit(input.recordsPerFile);
    output_.OpenFile();
  }
  void Write(std::size_t index) {
    output_.WriteAuditData(const_cast<tagWKEventData*>(&input_.events[index]));
  }
  void Close() { output_.CloseFile(); }

  static constexpr char kFile[] = "../tmp/wkagent.xml";

 private:
  const Input& input_;
  std::string file_ = kFile;
  WKEDAOutputFile output_{file_.data(), kRoot, kGroup};
};

// Counts the records of a file, and moves the full one to the outbox.
template <typename File>
class Rotated {
 public:
  explicit Rotated(const Input& input) : input_(input) { file_.Open(); }
  void Write(std::size_t index) {
    if (count_ == input_.recordsPerFile) {
      file_.Close();
      std::rename(File::kFile, "../outbox/other.xml");
      file_.Open();
      count_ = 0;
    }
    file_.Write(input_, index);
    ++count_;
  }
  void Close() { file_.Close(); }

  static constexpr const char* kFile = File::kFile;

 private:
  const Input& input_;
  File file_;
  int count_ = 0;
};

const xmlChar* Xml(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

class BareLibxml2 {
 public:
  void Open() {
    writer_ = xmlNewTextWriterFilename(kFile, 0);
    xmlTextWriterSetIndent(writer_, 1);
    xmlTextWriterSetIndentString(writer_, Xml("  "));
    xmlTextWriterStartDocument(writer_, nullptr, nullptr, nullptr);
    xmlTextWriterStartElement(writer_, Xml(kRoot));
    xmlTextWriterStartElement(writer_, Xml(kGroup));
  }
  void Write(const Input& input, std::size_t index) {
    xmlTextWriterStartElement(writer_, Xml(kRecord));
    for (const Attribute& attribute : input.attributes[index]) {
      xmlTextWriterWriteAttribute(writer_, Xml(attribute.name), Xml(attribute.value.c_str()));
    }
    xmlTextWriterEndElement(writer_);
  }
  void Close() {
    xmlTextWriterEndDocument(writer_);
    xmlFreeTextWriter(writer_);
  }

  static constexpr char kFile[] = "../tmp/libxml2.xml";

 private:
  xmlTextWriterPtr writer_ = nullptr;
};

// Gets an event as WriteAuditData does. It writes 4 KiB at once, as stdio would.
class ByHand {
 public:
  void Open() {
    file_ = open(kFile, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    Add("<?xml version=\"1.0\"?>\n<EDAuditData>\n  <EDADataRecords>\n");
  }
  void Write(const Input& input, std::size_t index) {
    const tagWKEventData& event = input.events[index];
    if (event.EventTime != time_) {
      time_ = event.EventTime;
      local_ = DateText(time_, localtime_r);
      utc_ = DateText(time_, gmtime_r);
    }
    char numbers[64];
    std::snprintf(numbers, sizeof(numbers), "%d\" Status=\"%d", event.EventID,
                  static_cast<int>(event.Status));
    Add("    <EDADataRecord Origin=\"EDA\" Source=\"Linux\" Category=\"eDirectory\" EventID=\"");
    Add(numbers);
    AddEscaped("\" UserName=\"", event.UserName);
    AddEscaped("\" UserGUID=\"\" NodeAddress=\"", event.NodeAddress);
    AddEscaped("\" Class1=\"", event.Class1);
    AddEscaped("\" Object1=\"", event.Object1);
    AddEscaped("\" ObjectGuid1=\"\" Attribute1=\"", event.Attribute1);
    AddEscaped("\" AttributeValue=\"", event.AttributeValue);
    AddEscaped("\" Class2=\"", event.Class2);
    AddEscaped("\" Object2=\"", event.Object2);
    AddEscaped("\" ObjectGuid2=\"\" ServerName=\"", event.ServerName);
    AddEscaped("\" TreeName=\"", event.TreeName);
    Add("\" RecordHash=\"\" InsertDate=\"");
    Add(local_);
    Add("\" LogDate=\"");
    Add(local_);
    Add("\" UTCDate=\"");
    Add(utc_);
    Add("\"/>\n");
  }
  void Close() {
    Add("  </EDADataRecords>\n</EDAuditData>\n");
    Flush();
    close(file_);
  }

  static constexpr char kFile[] = "../tmp/by-hand.xml";

 private:
  void Add(std::string_view text) {
    if (used_ + text.size() > sizeof(buffer_)) Flush();
    std::memcpy(buffer_ + used_, text.data(), text.size());
    used_ += text.size();
  }
  void AddEscaped(std::string_view name, const char* value) {
    Add(name);
    if (used_ + 2048 > sizeof(buffer_)) Flush();
    for (; *value != '\0'; ++value) {
      switch (*value) {
        case '<':
          Add("&lt;");
          break;
        case '>':
          Add("&gt;");
          break;
        case '&':
          Add("&amp;");
          break;
        case '"':
          Add("&quot;");
          break;
        default:
          buffer_[used_++] = *value;
      }
    }
  }
  void Flush() {
    if (write(file_, buffer_, used_) < 0) std::perror("write");
    used_ = 0;
  }

  int file_ = -1;
  char buffer_[4096];
  std::size_t used_ = 0;
  std::time_t time_ = 0;
  std::string local_;
  std::string utc_;
};

template <typename Writer>
std::string BytesOf(const Input& input, std::size_t count) {
  Writer writer(input);
  for (std::size_t i = 0; i < count; ++i) writer.Write(i);
  writer.Close();
  return wkagent::bench::ReadWholeFile(Writer::kFile);
}

template <typename Writer>
void WriteRecords(benchmark::State& state, const Input& input) {
  Writer writer(input);
  std::size_t index = 0;
  for (auto unused : state) {
    (void)unused;
    writer.Write(index);
    if (++index == input.events.size()) index = 0;
  }
  writer.Close();
}

void Register(const std::string& name, void (*run)(benchmark::State&, const Input&),
              const Input& input) {
  benchmark::RegisterBenchmark(("record_write/" + name).c_str(),
                               [run, &input](benchmark::State& state) { run(state, input); });
}

bool WriteSameBytes(const Input& input) {
  for (const std::size_t count : {400UL, 1234UL}) {
    const std::string ours = BytesOf<Wkagent>(input, count);
    if (ours.empty() || ours != BytesOf<Rotated<BareLibxml2>>(input, count) ||
        ours != BytesOf<Rotated<ByHand>>(input, count)) {
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const wkagent::bench::BenchHome home;
  const Input usual(2000);
  if (!WriteSameBytes(usual)) {
    std::fputs("record_write: the writers do not write the same bytes\n", stderr);
    return 70;
  }
  Register("rotated-at-500/wkagent", WriteRecords<Wkagent>, usual);
  Register("rotated-at-500/libxml2", WriteRecords<Rotated<BareLibxml2>>, usual);
  Register("rotated-at-500/by-hand", WriteRecords<Rotated<ByHand>>, usual);
  std::vector<std::unique_ptr<Input>> inputs;
  for (const int length : {1, 10, 30, 100, 299}) {
    const Input& input = *inputs.emplace_back(std::make_unique<Input>(200, length));
    const std::string name = "value-of-" + std::to_string(length);
    Register(name + "/wkagent", WriteRecords<Wkagent>, input);
    Register(name + "/libxml2", WriteRecords<Rotated<BareLibxml2>>, input);
  }
  for (const int records : {1, 10, 100, 1000, 10'000}) {
    const Input& input = *inputs.emplace_back(std::make_unique<Input>(200, -1, records));
    const std::string name = "files-of-" + std::to_string(records);
    Register(name + "/wkagent", WriteRecords<Wkagent>, input);
    Register(name + "/libxml2", WriteRecords<Rotated<BareLibxml2>>, input);
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
