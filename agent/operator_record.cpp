#include "agent/operator_record.h"

#include <algorithm>
#include <cstring>

#include <unistd.h>

#include "agent/report.h"

namespace wkagent {
namespace {

char statusFile[] = "../tmp/wkagentd.status";

}  // namespace

OperatorRecord::OperatorRecord() : status_(statusFile) {}

void OperatorRecord::Started(std::string_view what) { Write(what, "WKAgentStart"); }

void OperatorRecord::Stopped(std::string_view what) { Write(what, "WKAgentStop"); }

void OperatorRecord::Error(std::string_view what) { Write(what, "WKAgentError"); }

void OperatorRecord::Write(std::string_view what, const char* marker) {
  tagStatusMessage line{};
  std::memcpy(line.message, what.data(), std::min(what.size(), sizeof(line.message) - 1));
  status_.WriteMessage(&line);
  if (access("../outbox/.", W_OK) != 0) return;  // the audit files report that
  WKStatusFile file(const_cast<char*>(marker));
  file.InitializeLogMessage(IgnoreLibraryMessage);
  file.CreateFile();
}

}  // namespace wkagent
