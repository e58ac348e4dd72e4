#include "agent/options.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include <wkagent/version.h>

#include "agent/exit_status.h"

namespace wkagent {
namespace {

struct NamedFeed {
  const char* prefix;
  FeedKind kind;
};

constexpr NamedFeed kFeeds[] = {{"auditlog:", FeedKind::kAuditlog},
                                {"jsonl:", FeedKind::kJsonl},
                                {"accesslog:", FeedKind::kAccesslog}};

constexpr char kFooter[] =
    "Feeds:\n"
    "  auditlog:PATH   the LDIF change log of OpenLDAP's auditlog overlay\n"
    "  jsonl:PATH      one JSON object a line, its keys the field names of an event\n"
    "  PATH may be - for standard input.\n"
    "  accesslog:FILE  cn=accesslog of the directory server that the LDAP settings FILE names;\n"
    "                  it is always followed\n"
    "\n"
    "--check-config prints what was understood on standard output, and on standard error what was\n"
    "not, as FILE:LINE: error: (or warning:) what is wrong, and what to write instead. Status 0\n"
    "without errors, else 78. With --syslog the settings of the collector are checked too.\n"
    "\n"
    "Signals: SIGTERM and SIGINT stop, SIGHUP reads filters and settings again, SIGUSR1 prints "
    "totals.\nThe collector's settings are read at the start only.\n"
    "\n"
    "Exit status: 0 done, 64 wrong usage, 66 input missing, 69 a test alert was not sent,\n"
    "70 internal error, 73 output cannot be written, 78 bad configuration.";

// Takes "KIND:PATH" apart; what is wrong with it, empty where nothing is.
std::string ReadFeed(const std::string& text, Options& options) {
  for (const NamedFeed& feed : kFeeds) {
    if (!text.starts_with(feed.prefix)) continue;
    const std::string path = text.substr(std::string(feed.prefix).size());
    if (path.empty()) return "the path is missing";
    if (feed.kind == FeedKind::kAccesslog && path == "-") return "the settings must be a file";
    options.feedKind = feed.kind;
    options.feedPath = path == "-" ? path : std::filesystem::absolute(path).string();
    return {};
  }
  return "KIND:PATH is expected, with auditlog, jsonl or accesslog as KIND";
}

void ReadTestAlert(const std::vector<std::string>& words, TestAlert& alert) {
  alert.kind = words[0];
  alert.text = words[1];
  if (alert.kind != "mail" && alert.kind != "snmp" && alert.kind != "syslog") {
    throw CLI::ValidationError("--test-alert", "mail, snmp or syslog is expected");
  }
  if (alert.text.empty()) throw CLI::ValidationError("--test-alert", "the text is empty");
}

}  // namespace

int ReadOptions(int argc, char** argv, Options& options) {
  CLI::App app(
      "Audits a directory server: reads its changes, keeps what the filters of the home "
      "want kept, and archives it as XML in the home's outbox.",
      "wkagentd");
  app.footer(kFooter);
  app.set_version_flag("--version", "wkagentd " WKAGENT_VERSION);
  app.add_option("--home", options.home, "Folder that holds bin, config, outbox and tmp")
      ->type_name("DIR")
      ->required();
  app.add_option_function<std::string>(
         "--feed",
         [&](const std::string& text) {
           const std::string error = ReadFeed(text, options);
           if (!error.empty()) throw CLI::ValidationError("--feed", error);
         },
         "Where events come from; required, but for --check-config")
      ->type_name("KIND:PATH");
  app.add_option_function<std::string>(
         "--ca-file",
         [&](const std::string& path) {
           options.caFile = std::filesystem::absolute(path).string();
         },
         "Certificates (PEM) that the directory server's is verified by, instead of the system's")
      ->type_name("FILE");
  app.add_flag("--follow", options.follow,
               "Keep reading as the file grows, also after it was rotated");
  app.add_flag("--from-start", options.fromStart,
               "Read the feed from its beginning, whatever has been read of it before");
  app.add_flag(
      "--syslog", options.syslog,
      "Forward each kept event to the collector of /opt/mossgrove/config/syslog_config.xml");
  app.add_flag("--hold-alerts", options.holdAlerts,
               "Spool alerts in the home's tmp folder, but do not send them");
  app.add_option("--user", options.user,
                 "User to become once the feed is open; default: the one who starts the agent")
      ->type_name("NAME[:GROUP]");
  app.add_flag("!--no-sandbox", options.sandbox,
               "Allow every system call, to find out whether the sandbox is in the way");
  app.add_flag("--check-config", options.checkConfig,
               "Check the files of the home's config folder, and do nothing else");
  std::vector<std::string> testAlert;
  auto* const test = app.add_option("--test-alert", testAlert,
                                    "Send one alert with the home's settings, and do nothing else")
                         ->type_name("mail|snmp|syslog TEXT")
                         ->expected(2);
  app.add_option("--to", options.testAlert.to,
                 "Who gets the test mail, instead of To and CC of DaemonSettings.xml")
      ->type_name("ADDRESS")
      ->needs(test);
  try {
    app.parse(argc, argv);
    if (test->count() > 0) {
      ReadTestAlert(testAlert, options.testAlert);
      return -1;
    }
    if (!options.checkConfig && options.feedPath.empty()) throw CLI::RequiredError("--feed");
  } catch (const CLI::ParseError& error) {
    const bool answered = app.exit(error, std::cout, std::cerr) == 0;
    return answered ? kDone : kUsageError;
  }
  return -1;
}

}  // namespace wkagent
