#ifndef WKAGENT_AGENT_SOURCE_H
#define WKAGENT_AGENT_SOURCE_H

#include <memory>
#include <string>

#include "agent/exit_status.h"
#include "agent/feed.h"
#include "agent/feed_position.h"
#include "agent/log_position.h"
#include "agent/options.h"

namespace wkagent {

// Where events come from: a file with its feed, or a directory server.
//
// Order of calls: Open; StartAt or GoOnAt, where the source keeps a position; Attach; then Work,
// again and again.
class Source {
 public:
  enum class State {
    kBusy,    // there may be more at once
    kIdle,    // nothing now, more may come
    kEnd,     // all has been read
    kFailed,  // it cannot go on, which it has reported
  };

  virtual ~Source() = default;

  // Opens the input; kDone, or with a report what the agent is to exit with.
  [[nodiscard]] virtual ExitStatus Open() = 0;

  // The name of the log whose position is to be kept; empty where none is.
  [[nodiscard]] virtual std::string LogName() const { return {}; }

  // Goes on where an earlier process ended.
  virtual void StartAt(const LogPosition& /*position*/) {}

  // The name of the file whose position is to be kept; empty where none is.
  [[nodiscard]] virtual std::string FileName() const { return {}; }

  // Where in that file it begins.
  [[nodiscard]] virtual FeedPosition Start() const { return {}; }

  // Goes on where an earlier process ended; false where the file is not to be found again.
  [[nodiscard]] virtual bool GoOnAt(const FeedPosition& /*position*/) { return false; }

  // Who takes what is read.
  virtual void Attach(FeedSink& sink) = 0;

  // The descriptor to wait on for more, -1 where waiting for a time must do.
  [[nodiscard]] virtual int WaitFd() const = 0;

  // Reads a part of what there is. `ready` tells whether WaitFd can be read.
  [[nodiscard]] virtual State Work(bool ready) = 0;

  // The path of its settings file, empty where it has none; and that file has changed.
  [[nodiscard]] virtual std::string SettingsPath() const { return {}; }
  virtual void ReloadSettings() {}
};

// The source that the options name.
[[nodiscard]] std::unique_ptr<Source> MakeSource(const Options& options);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_SOURCE_H
