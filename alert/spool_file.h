#ifndef WKAGENT_ALERT_SPOOL_FILE_H
#define WKAGENT_ALERT_SPOOL_FILE_H

#include <atomic>
#include <functional>
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

// True, and logged to `owner`, where reading a spool file has failed: it must stay then.
[[nodiscard]] bool CouldNotRead(WKAlert& owner, std::FILE* file);

// Deletes a spool file; the result is that of system(3).
[[nodiscard]] int RemoveSpool(const char* path);

// What is to become of alerts that are not sent.
struct ReplayMode {
  bool keep = false;                        // they stay in the file
  const std::atomic<bool>* stop = nullptr;  // where it may be broken off

  [[nodiscard]] bool IsStopped() const { return stop != nullptr && *stop; }
};

// One replay of a spool file: tries its records one after the other, and then leaves in the file
// what is still to be sent.
class SpoolReplayer {
 public:
  explicit SpoolReplayer(const ReplayMode& mode) : mode_(mode) {}

  // Lets `send` try a record, unless the replay is over already. `send` tells whether the record
  // was taken.
  void Try(std::string_view record, const std::function<bool()>& send);

  // Replaces the content of the file, which was read to its end, by what is left, or deletes it.
  // Returns what Deserialize, or Replay, returns.
  [[nodiscard]] int Finish(const char* path, File read) const;

 private:
  const ReplayMode mode_;
  bool over_ = false;
  std::string untried_;
  std::string failed_;
};

// The path of a file in "../tmp". Empty, and logged to `owner`, where the name would lead
// elsewhere.
[[nodiscard]] std::string SpoolPath(WKAlert& owner, const char* name);

// Sends a spool of text lines: each read of at most 255 bytes, with its line end, becomes the
// owner's message. `send` is called for each and tells whether it was taken. Returns what
// Deserialize, or Replay, returns.
[[nodiscard]] int ReplayLines(WKAlert& owner, const char* path, const ReplayMode& mode,
                              const std::function<bool()>& send);

}  // namespace wkagent

#endif  // WKAGENT_ALERT_SPOOL_FILE_H
