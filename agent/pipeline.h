#ifndef WKAGENT_AGENT_PIPELINE_H
#define WKAGENT_AGENT_PIPELINE_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include <wkagent/filter.h>
#include <wkagent/output.h>

#include "agent/exit_status.h"
#include "agent/feed.h"

namespace wkagent {

// What the agent has done so far.
struct Totals {
  std::int64_t read = 0;  // events, kept or dropped
  std::int64_t malformed = 0;
  std::int64_t kept = 0;
  std::int64_t dropped = 0;
  std::int64_t archived = 0;
  std::int64_t alerts = 0;
};

// The one line in which the totals are printed.
[[nodiscard]] std::string Describe(const Totals& totals);

// The way of an event through the agent: the filter decides, a kept event goes into the audit file.
// It works in the home's bin folder and belongs to one thread.
class Pipeline : public FeedSink {
 public:
  // `home` and `feedName` are for messages.
  Pipeline(std::string home, std::string feedName);

  // Reads the filter and opens the audit file; kDone when both succeeded.
  [[nodiscard]] ExitStatus Start();

  void OnEvent(tagWKEventData& event) override;
  void OnMalformed(long line, std::string_view reason) override;

  // Reads the filter again; where that fails, the one in force stays.
  void Reload();

  // Nothing is being read: makes the written records visible, and from time to time tries again to
  // archive what could not be.
  void Idle();

  // True when the audit file could not be written. The events that follow are not taken.
  [[nodiscard]] bool Failed() const { return failed_; }

  // Completes the audit file; kDone, or kOutputFailed when a record may not be on disk.
  [[nodiscard]] ExitStatus Finish();

  [[nodiscard]] Totals GetTotals();

 private:
  // The path in the home that the library knows as "../...".
  [[nodiscard]] std::string InHome(std::string_view path) const;
  [[nodiscard]] bool Keep(tagWKEventData& event);
  void CheckOutput();

  const std::string home_;
  const std::string feedName_;
  std::optional<WKEDAFilter> filter_;
  WKEDAOutputFile output_;
  Totals totals_;
  std::chrono::steady_clock::time_point lastRetry_;
  bool failed_ = false;
  bool flushed_ = true;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_PIPELINE_H
