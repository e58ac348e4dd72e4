// Audit files, written, rotated and archived, while calls fail.

#include <iostream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <wkagent/output.h>

#include "config/xml_library.h"
#include "faults/fault_control.h"
#include "faults/ledger.h"
#include "faults/torture.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

constexpr int kRecords = 7;
constexpr int kRecordsAFile = 3;

// The value has characters that libxml2 converts.
tagWKEventData EventNamed(const std::string& name) {
  tagWKEventData event{};
  event.EventID = 20001;
  event.EventTime = 1'700'000'000;
  name.copy(event.Object1, sizeof(event.Object1) - 1);
  constexpr std::string_view kValue = "J\xC3\xBCrgen & <Co>";
  kValue.copy(event.AttributeValue, sizeof(event.AttributeValue) - 1);
  return event;
}

// True for messages that tell of no loss.
bool OnlyNotices() {
  std::istringstream lines{std::string(Messages::Text())};
  for (std::string line; std::getline(lines, line);) {
    const bool notice = line.empty() || line.starts_with("Created archive file") ||
                        line.starts_with("Completed unfinished file");
    if (!notice) return false;
  }
  return true;
}

bool AreXml(const AgentHome& home, const std::string& folder) {
  for (const std::string& name : home.List(folder)) {
    const XmlDoc document(xmlReadFile(home.Path(folder + "/" + name).c_str(), nullptr,
                                      XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    if (document == nullptr) return false;
  }
  return true;
}

// Writes records, each of which the file has taken once it is flushed without an error.
bool WriteRecords(WKEDAOutputFile& output, Ledger& ledger) {
  if (output.OpenFile() != 0) return false;
  for (int i = 0; i < kRecords; ++i) {
    const std::string name = ledger.NextName();
    tagWKEventData event = EventNamed(name);
    Messages::Forget();
    output.WriteAuditData(&event);
    const bool flushed = output.FlushFile() == 0 && output.GetWriteError() == 0;
    if (flushed && OnlyNotices()) ledger.NoteTaken(name);
    if (!flushed || !OnlyNotices()) return false;
  }
  return true;
}

Outcome Write(const AgentHome& home) {
  Ledger ledger(home);
  Messages::Forget();
  bool told = false;
  bool archived = false;
  try {
    WKEDAOutputFile output(Text("../tmp/EDALive.xml"), "EDAuditData", "EDADataRecords");
    output.InitializeLogMessage(Messages::Take);
    output.SetSafeArchive(true);
    output.SetThresholdLimit(kRecordsAFile);
    told = !WriteRecords(output, ledger);
    output.CloseFile();
    told = told || output.GetWriteError() != 0 || !OnlyNotices();
    archived = output.RetryArchive() == 0;
  } catch (const std::bad_alloc&) {
    told = true;
  }
  const WithoutFaults within;
  const std::string text = AllText(home, "tmp") + AllText(home, "outbox");
  if (!ledger.AllTakenAre(text)) {
    std::cerr << "lost: " << ledger.Missing(text) << '\n';
    return {.complete = false, .told = false};
  }
  const bool wellFormed = AreXml(home, "outbox");
  if (!wellFormed) return {.complete = false, .told = false};
  return {.complete = !told && archived && ledger.AllNamedAre(text) && AreXml(home, "tmp"),
          .told = told || !archived};
}

TEST(TorturedOutput, LosesNoRecordThatItHasTakenWhereMemoryRunsOut) {
  // libxml2 forgets an element, and its name, for which its list has no memory.
  Torture(Write).Allowing(2).Fail({{"allocate", "errno:ENOMEM"}, {"allocate", "errno:ENOMEM", 0}});
}

TEST(TorturedOutput, LosesNoRecordThatItHasTakenWhereWritingFails) {
  Torture(Write).Fail({{"write", "errno:ENOSPC"},
                       {"write", "errno:EDQUOT", 0},
                       {"open", "errno:EMFILE"},
                       {"open", "errno:EMFILE", 0}});
}

TEST(TorturedOutput, LosesNothingWhereAWriteIsShortOrInterrupted) {
  Torture(Write).LosingNothing().Fail({{"write", "short"}, {"write", "errno:EINTR"}});
}

TEST(TorturedOutput, LosesNoRecordThatItHasTakenWhereReadingAndMovingFails) {
  Torture(Write).Fail({{"read", "errno:EIO"},
                       {"rename", "errno:ENOSPC"},
                       {"rename", "errno:ENOSPC", 0},
                       {"rename", "errno:EXDEV", 0}});
}

TEST(TorturedOutput, LosesNoRecordThatItHasTakenWhereItIsKilled) {
  Torture(Write).Fail({{"write", "kill-before"},
                       {"write", "kill-after"},
                       {"open", "kill-before"},
                       {"open", "kill-after"},
                       {"rename", "kill-before"},
                       {"rename", "kill-after"}});
}

// Leaves a file that is not complete, which the next object completes.
Outcome GoOnWithATornFile(const AgentHome& home) {
  Ledger ledger(home);
  {
    const WithoutFaults within;
    const std::string name = ledger.NextName();
    ledger.NoteTaken(name);
    std::string live = home.Read("tmp/EDALive.xml");
    const std::size_t end = live.rfind("/>\n");
    live = live.find("<EDADataRecord ") == std::string::npos
               ? "<?xml version=\"1.0\"?>\n<EDAuditData>\n  <EDADataRecords>\n"
               : live.substr(0, end + 3);
    home.Write("tmp/EDALive.xml",
               live + "    <EDADataRecord Object1=\"" + name + "\"/>\n    <EDADataRecord Obj");
  }
  return Write(home);
}

TEST(TorturedOutput, CompletesATornFileWithAllItsRecords) {
  Torture(GoOnWithATornFile)
      .Allowing(2)
      .Fail({{"allocate", "errno:ENOMEM"},
             {"read", "errno:EIO"},
             {"truncate", "errno:EIO"},
             {"stream", "errno:ENOSPC"},
             {"truncate", "kill-before"},
             {"truncate", "kill-after"},
             {"stream", "kill-before"},
             {"stream", "kill-after"},
             {"rename", "errno:ENOSPC", 0}});
}

}  // namespace
}  // namespace wkagent::test
