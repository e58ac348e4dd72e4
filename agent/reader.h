#ifndef WKAGENT_AGENT_READER_H
#define WKAGENT_AGENT_READER_H

#include <chrono>
#include <string>

#include "agent/config_watch.h"
#include "agent/event_queue.h"
#include "agent/exit_status.h"
#include "agent/local_day.h"
#include "agent/settings.h"
#include "agent/signals.h"
#include "agent/source.h"
#include "agent/worker.h"

namespace wkagent {

// The main thread's work: it hands the source's events to the queue, and between them what signals,
// changed files and the clock ask for.
class Reader {
 public:
  // `home` is for messages. The others must live longer than this.
  Reader(std::string home, const Settings& settings, Source& source, Signals& signals,
         QueueSink& queue, const Worker& worker, ConfigWatch& watch);

  // Returns when the source ends or fails, the worker fails, or a signal stops the agent.
  [[nodiscard]] ExitStatus Run();

  // True when the source ended.
  [[nodiscard]] bool ReachedEnd() const { return reachedEnd_; }

 private:
  using Clock = std::chrono::steady_clock;

  void ObeySignals();
  void TakeChangedFiles();
  void ReloadSettings();
  void ShowProgress();
  void TellWhenQuiet(bool busy);

  const std::string home_;
  Settings settings_;
  Source& source_;
  const std::string sourceSettings_;  // the name of its settings file, if it lies in the home
  Signals& signals_;
  QueueSink& queue_;
  const Worker& worker_;
  ConfigWatch& watch_;
  LocalDay day_;
  const bool watched_;  // a person watches
  Clock::time_point lastProgress_;
  Clock::time_point lastBusy_;
  Clock::time_point lastQuiet_;  // when the worker was last told
  bool told_ = false;            // of the present quiet
  bool reachedEnd_ = false;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_READER_H
