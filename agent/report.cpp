#include "agent/report.h"

#include <cstdio>

#include <wkagent/mutex.h>

namespace wkagent {
namespace {

Mutex mutex;  // reader and worker report
bool progressShown WKAGENT_GUARDED_BY(mutex) = false;

constexpr char kEraseLine[] = "\r\x1b[K";

}  // namespace

void Report(std::string_view text) {
  const MutexLock lock(mutex);
  std::fprintf(stderr, "%swkagentd: %.*s\n", progressShown ? kEraseLine : "",
               static_cast<int>(text.size()), text.data());
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
