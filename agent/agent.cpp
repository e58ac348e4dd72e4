#include "agent/agent.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "agent/auditlog_feed.h"
#include "agent/followed_file.h"
#include "agent/jsonl_feed.h"
#include "agent/pipeline.h"
#include "agent/report.h"
#include "agent/signals.h"
#include "core/handles.h"

namespace wkagent {
namespace {

constexpr int kIdleMilliseconds = 200;

// Enters the home's bin folder and takes the home's lock, which lasts as long as `lock`.
ExitStatus EnterHome(const std::string& home, Fd& lock) {
  for (const char* folder : {"bin", "config", "tmp"}) {
    const std::string path = home + "/" + folder;
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) continue;
    Report(path + ": there is no such folder; a home holds bin, config, outbox and tmp");
    return kBadConfiguration;
  }
  if (chdir((home + "/bin").c_str()) != 0) {
    Report(home + "/bin: " + std::strerror(errno));
    return kBadConfiguration;
  }
  umask(027);  // audit files are for the agent's group at most
  lock.Reset(open("../tmp/wkagentd.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0640));
  if (lock.IsOpen() && flock(lock.Get(), LOCK_EX | LOCK_NB) == 0) return kDone;
  Report(home + "/tmp/wkagentd.lock: " +
         (errno == EWOULDBLOCK ? "another wkagentd works in this home" : std::strerror(errno)));
  return kOutputFailed;
}

std::string HostName() {
  std::array<char, 256> name{};
  gethostname(name.data(), name.size() - 1);
  return name.data();
}

std::unique_ptr<Feed> MakeFeed(FeedKind kind, FeedSink& sink) {
  if (kind == FeedKind::kJsonl) return std::make_unique<JsonlFeed>(sink);
  return std::make_unique<AuditlogFeed>(sink, HostName());
}

void PrintTotals(Pipeline& pipeline) {
  ReportProgress({});
  std::puts(Describe(pipeline.GetTotals()).c_str());
  std::fflush(stdout);
}

// Tells a person who watches that the work goes on.
class Progress {
 public:
  void Show(Pipeline& pipeline) {
    const auto now = std::chrono::steady_clock::now();
    if (!watched_ || now - last_ < std::chrono::milliseconds(500)) return;
    last_ = now;
    const Totals totals = pipeline.GetTotals();
    ReportProgress(std::to_string(totals.read) + " events read, " + std::to_string(totals.kept) +
                   " kept");
  }

 private:
  const bool watched_ = isatty(STDERR_FILENO) != 0;
  std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

// Hands the input to the feed until it ends, fails or a signal stops the agent.
ExitStatus Work(const Options& options, FollowedFile& input, Signals& signals, Pipeline& pipeline) {
  const std::unique_ptr<Feed> feed = MakeFeed(options.feedKind, pipeline);
  Progress progress;
  bool idle = false;
  while (!pipeline.Failed()) {
    const int waitFd = input.WaitFd();
    const bool ready = signals.Poll(waitFd, idle || waitFd >= 0 ? kIdleMilliseconds : 0);
    if (signals.TakeReload()) pipeline.Reload();
    if (signals.TakeTotals()) PrintTotals(pipeline);
    if (signals.StopWanted()) return kDone;
    const auto state = waitFd >= 0 && !ready ? FollowedFile::State::kNothing : input.Read();
    idle = state == FollowedFile::State::kNothing;
    switch (state) {
      case FollowedFile::State::kData:
        feed->Take(input.Block());
        progress.Show(pipeline);
        break;
      case FollowedFile::State::kNothing:
        pipeline.Idle();
        break;
      case FollowedFile::State::kReplaced:
        feed->Finish();
        break;
      case FollowedFile::State::kEnd:
        feed->Finish();
        return kDone;
      case FollowedFile::State::kFailed:
        Report(options.feedPath + ": " + std::strerror(input.Error()));
        return kInputMissing;
    }
  }
  return kOutputFailed;
}

}  // namespace

ExitStatus RunAgent(const Options& options) {
  Signals signals;
  FollowedFile input(options.feedPath, options.follow);
  if (!input.Open()) {
    Report(options.feedPath + ": " + std::strerror(input.Error()));
    return kInputMissing;
  }
  std::error_code error;
  std::string home = std::filesystem::absolute(options.home, error).lexically_normal();
  while (home.size() > 1 && home.ends_with('/')) home.pop_back();
  Fd lock;
  if (const ExitStatus status = EnterHome(home, lock); status != kDone) return status;

  Pipeline pipeline(home, options.feedPath == "-" ? "standard input" : options.feedPath);
  if (const ExitStatus status = pipeline.Start(); status != kDone) return status;
  const ExitStatus worked = Work(options, input, signals, pipeline);
  const ExitStatus finished = pipeline.Finish();
  PrintTotals(pipeline);
  return worked != kDone ? worked : finished;
}

}  // namespace wkagent
