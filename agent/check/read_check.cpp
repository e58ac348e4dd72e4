#include "agent/check/read_check.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <string>
#include <string_view>

#include <sys/stat.h>

namespace wkagent {
namespace {

// What cannot be read is told once, by the report.
void Ignore(int /*level*/, char* /*message*/, char* /*extra*/) {}

constexpr char kNothingCounts[] = ", so nothing of this file counts; ";

// Why the reader failed, without the path: "LINE: REASON" or "REASON".
std::string_view ReasonOf(WKConfigFile& reader, const std::string& path) {
  const char* const error = reader.GetReadError();
  std::string_view reason = error == nullptr ? "" : error;
  reason.remove_prefix(std::min(path.size() + 1, reason.size()));
  while (reason.starts_with(' ')) reason.remove_prefix(1);
  return reason;
}

void ReportFailure(std::string_view reason, ParserWords words, CheckReport& report) {
  const bool parsed = !reason.empty() && std::isdigit(static_cast<unsigned char>(reason[0])) != 0;
  if (!parsed) {
    return report.Error(0, "it cannot be read: " + std::string(reason) + kNothingCounts +
                               "let the agent's user read it");
  }
  const std::string said(reason.substr(std::min(reason.find(' '), reason.size())));
  report.Error(std::atol(reason.data()),
               "it is no well-formed XML" + (words == ParserWords::kQuoted ? ":" + said : "") +
                   kNothingCounts +
                   "close each element, and in a value write &amp; for & and &lt; for <");
}

}  // namespace

bool ReadForCheck(WKConfigFile& reader, ParserWords words, CheckReport& report) {
  struct stat status {};
  const bool there = stat(report.Path().c_str(), &status) == 0;
  if (there && !S_ISREG(status.st_mode)) {
    report.Error(0,
                 std::string(S_ISDIR(status.st_mode) ? "it is a folder" : "it is no regular file") +
                     kNothingCounts + "put a file in its place");
    return false;
  }
  reader.InitializeLogMessage(Ignore);
  std::string path = report.Path();
  if (reader.ReadFile(path.data()) == 0) return true;
  ReportFailure(ReasonOf(reader, path), words, report);
  return false;
}

}  // namespace wkagent
