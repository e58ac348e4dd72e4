#include "agent/agent.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include <unistd.h>

#include "agent/audit_stream.h"
#include "agent/check/syslog_check.h"
#include "agent/config_watch.h"
#include "agent/enter_home.h"
#include "agent/event_queue.h"
#include "agent/home_path.h"
#include "agent/pipeline.h"
#include "agent/reader.h"
#include "agent/report.h"
#include "agent/resume.h"
#include "agent/settings.h"
#include "agent/signals.h"
#include "agent/source.h"
#include "agent/spool_replay.h"
#include "agent/worker.h"
#include "core/handles.h"

namespace wkagent {
namespace {

// Begins to forward to the remote syslog. Settings that are missing leave the library's defaults,
// which it reports; wrong ones must not send audit lines to the wrong place.
ExitStatus StartSyslog(std::optional<SyslogForwarder>& syslog) {
  if (access(kSyslogSettingsPath, F_OK) == 0) {
    CheckReport report(kSyslogSettingsPath);
    CheckSyslogSettings(report);
    report.PrintFindings();
    if (report.Errors() > 0) return kBadConfiguration;
  }
  syslog.emplace();
  return kDone;
}

}  // namespace

ExitStatus RunAgent(const Options& options) {
  Signals signals;  // before any thread
  const std::unique_ptr<Source> source = MakeSource(options);
  if (const ExitStatus status = source->Open(); status != kDone) return status;
  const std::string home = AbsoluteHome(options.home);
  Fd lock;
  if (const ExitStatus status = EnterHome(home, options, source->SettingsPath(), lock);
      status != kDone) {
    return status;
  }

  ConfigWatch watch({DirectoryEvents::kFilterFile, LoginEvents::kFilterFile, kDaemonSettingsFile,
                     kMemorySettingsFile, ConfigWatch::NameInHome(source->SettingsPath())});
  Settings settings;
  if (const std::string error = ReadSettings(settings); !error.empty()) {
    Report(InHome(home, error));
    return kBadConfiguration;
  }
  std::optional<SyslogForwarder> syslog;
  if (options.syslog) {
    if (const ExitStatus status = StartSyslog(syslog); status != kDone) return status;
  }
  Pipeline pipeline(home, options.feedPath == "-" ? "standard input" : options.feedPath);
  pipeline.Apply(settings);
  if (syslog) pipeline.ForwardTo(*syslog);
  Resume(home, options, *source, pipeline);
  if (const ExitStatus status = pipeline.Start(); status != kDone) return status;

  std::optional<SpoolReplay> replay;
  if (!options.holdAlerts) {
    replay.emplace(home, std::chrono::seconds(settings.pollSeconds));
    pipeline.SendAlertsBy(*replay);
  }
  EventQueue queue(settings.blocks);
  QueueSink sink(queue);
  source->Attach(sink);
  Worker worker(queue, pipeline);
  Reader reader(home, settings, *source, signals, sink, worker, watch);
  const ExitStatus worked = reader.Run();
  worker.Stop();
  if (reader.ReachedEnd()) pipeline.ForgetPosition();
  const ExitStatus finished = pipeline.Finish();
  PrintTotals(pipeline);
  return worked != kDone ? worked : finished;
}

}  // namespace wkagent
