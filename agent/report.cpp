#include "agent/report.h"

#include <cstdio>
#include <string>

#include <wkagent/mutex.h>

namespace wkagent {
namespace {

Mutex mutex;  // reader and worker report
bool progressShown WKAGENT_GUARDED_BY(mutex) = false;

constexpr char kEraseLine[] = "\r\x1b[K";

// Names and servers' words may hold what a terminal would obey.
std::string Harmless(std::string_view text) {
  std::string harmless;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte >= 0x20 && byte != 0x7f) || c == '\n' || c == '\t') {
      harmless += c;
      continue;
    }
    char escape[8];
    std::snprintf(escape, sizeof(escape), "\\x%02x", byte);
    harmless += escape;
  }
  return harmless;
}

}  // namespace

void Report(std::string_view text) {
  const std::string line = Harmless(text);
  const MutexLock lock(mutex);
  std::fprintf(stderr, "%swkagentd: %s\n", progressShown ? kEraseLine : "", line.c_str());
  progressShown = false;
}

void ReportLibraryMessage(int /*level*/, char* message, char* /*extra*/) {
  std::string_view text(message);
  while (text.ends_with('\n')) text.remove_suffix(1);
  Report(text);
}

void IgnoreLibraryMessage(int /*level*/, char* /*message*/, char* /*extra*/) {}

void ReportProgress(std::string_view text) {
  const MutexLock lock(mutex);
  if (text.empty() && !progressShown) return;
  std::fprintf(stderr, "%s%.*s", kEraseLine, static_cast<int>(text.size()), text.data());
  std::fflush(stderr);
  progressShown = !text.empty();
}

}  // namespace wkagent
