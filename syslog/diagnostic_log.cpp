#include "syslog/diagnostic_log.h"

#include <cstring>
#include <iostream>
#include <new>
#include <string>
#include <type_traits>

#include <wkagent/mutex.h>

#include "core/bounded_copy.h"
#include "syslog/append_file.h"

namespace wkagent {
namespace {

constexpr mode_t kMode = 0644;

// Keeps the lines of all threads, and of both logs on standard error, apart. Never destroyed, as
// the logs are not.
constinit Mutex reportMutex;
static_assert(std::is_trivially_destructible_v<Mutex>);

}  // namespace

DiagnosticLog& senderLog = *new DiagnosticLog("/opt/mossgrove/log/syslog_sender.log");
DiagnosticLog& retryLog = *new DiagnosticLog("/opt/mossgrove/log/syslog_retry.log");

DiagnosticLog::DiagnosticLog(const char* path) { Attach(file_, OpenForAppending(path, kMode)); }

void DiagnosticLog::Report(std::string_view message, std::string_view more) noexcept {
  std::string line;
  try {
    line.reserve(message.size() + more.size() + 1);
    line.append(message).append(more).append(1, '\n');
  } catch (const std::bad_alloc&) {
    // It is written part by part.
  }
  const MutexLock lock(reportMutex);
  for (std::ostream* const out : {static_cast<std::ostream*>(&std::cerr), OpenFile()}) {
    if (out == nullptr) continue;
    if (line.empty()) {
      *out << message << more << std::endl;
    } else {
      *out << line << std::flush;
    }
  }
  file_.clear();  // a disk that was full once may have room for the next line
}

void DiagnosticLog::ReportError(std::string_view message, int error) noexcept {
  if (const char* const text = strerrordesc_np(error); text != nullptr)
    return Report(message, text);
  char unknown[32];
  FormatBounded(unknown, "Unknown error %d", error);
  Report(message, unknown);
}

std::ostream* DiagnosticLog::OpenFile() { return file_.is_open() ? &file_ : nullptr; }

}  // namespace wkagent
