#include "agent/operator_record.h"

#include <algorithm>
#include <cstring>

#include <unistd.h>

#include "agent/report.h"
#include "core/own_file.h"

namespace wkagent {
namespace {

constexpr mode_t kMode = 0640;

char statusFile[] = "../tmp/wkagentd.status";

}  // namespace

OperatorRecord::OperatorRecord() : status_(statusFile) {}

void OperatorRecord::Started(std::string_view what) { Write(what, "WKAgentStart"); }

void OperatorRecord::Stopped(std::string_view what) { Write(what, "WKAgentStop"); }

void OperatorRecord::Error(std::string_view what) { Write(what, "WKAgentError"); }

void OperatorRecord::Write(std::string_view what, const char* marker) {
  tagStatusMessage line{};
  std::memcpy(line.message, what.data(), std::min(what.size(), sizeof(line.message) - 1));
  // The library appends to whatever bears the name, and makes it for everybody.
  if (OpenOwnFile(statusFile, O_WRONLY | O_CREAT, kMode).IsOpen()) {
    status_.WriteMessage(&line);
  } else {
    Report("../tmp/wkagentd.status: " + std::string(std::strerror(errno)));
  }
  if (access("../outbox/.", W_OK) != 0) return;  // the audit files report that
  WKStatusFile file(const_cast<char*>(marker));
  file.InitializeLogMessage(IgnoreLibraryMessage);
  file.CreateFile();
}

}  // namespace wkagent
