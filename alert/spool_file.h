#ifndef WKAGENT_ALERT_SPOOL_FILE_H
#define WKAGENT_ALERT_SPOOL_FILE_H

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

#include <wkagent/core.h>

#include "core/handles.h"
#include "core/time_stamp.h"

namespace wkagent {

// Spool files are named "../tmp/<kind>.<stamp>.txt". Their names come back from a directory
// listing, where anybody may have put others.

// Makes `text` the owner's message, cleared behind it. An empty text, or null, leaves the old one.
void ReplaceMessage(WKAlert& owner, const char* text);

// Appends to the spool file of this stamp with one write. False, with errno set, where that fails.
[[nodiscard]] bool AppendToSpool(const char* kind, const TimeStamp& stamp, std::string_view data);

// The same for a line of text. A failure is logged to `owner`.
void SpoolLine(WKAlert& owner, const char* kind);

// Logs that a spool file could not be written, and errno.
void LogSpoolFailure(WKAlert& owner, const char* kind);

// Opens a spool file for reading; null unless it is a regular file, and no link to one.
[[nodiscard]] File OpenSpool(const char* path);

// Deletes a spool file; the result is that of system(3).
[[nodiscard]] int RemoveSpool(const char* path);

// Replaces the content of a spool file by what is still to be sent. False where that fails; the
// file is then as it was.
[[nodiscard]] bool KeepInSpool(const char* path, const std::string& data);

// The path of a file in "../tmp". Empty, and logged to `owner`, where the name would lead
// elsewhere.
[[nodiscard]] std::string SpoolPath(WKAlert& owner, const char* name);

// Sends a spool of text lines: each read of at most 255 bytes, with its line end, becomes the
// owner's message. `send` is called for each and tells whether it was taken; what was not is kept
// when `keep` is set. Returns what Deserialize returns.
template <typename Send>
int ReplayLines(WKAlert& owner, const char* path, bool keep, Send send) {
  File file = OpenSpool(path);
  if (file == nullptr) return 0;
  std::string left;
  char line[sizeof(owner.message)] = {};
  while (std::fgets(line, sizeof(line), file.get()) != nullptr) {
    std::copy(std::begin(line), std::end(line), std::begin(owner.message));
    if (!send() && keep) left += line;
  }
  file.reset();
  if (!left.empty()) return KeepInSpool(path, left) ? 0 : 1;
  return RemoveSpool(path);
}

}  // namespace wkagent

#endif  // WKAGENT_ALERT_SPOOL_FILE_H
