#include "agent/check/config_check.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <vector>

#include <strings.h>
#include <sys/stat.h>

#include "agent/check/check_report.h"
#include "agent/check/document_rules.h"
#include "agent/check/filter_check.h"
#include "agent/check/name_distance.h"
#include "agent/check/settings_check.h"
#include "agent/check/syslog_check.h"

namespace wkagent {
namespace {

struct CheckedFile {
  const DocumentRules* rules = nullptr;  // null for a file from outside the folder
  void (*check)(CheckReport&) = nullptr;
  const char* whenMissing = nullptr;  // a note; null: nothing to say
  bool required = false;
};

const CheckedFile kFiles[] = {
    {&kEdaFilterRules, CheckEdaFilter,
     "there is no such file, and the agent does not start without it; write one, or copy that of "
     "the sample home",
     true},
    {&kElaFilterRules, CheckElaFilter, "not there, so logins and logouts are dropped"},
    {&kDaemonSettingsRules, CheckDaemonSettings, "not there, so the defaults are in force"},
    {&kMemorySettingsRules, CheckMemorySettings, "not there, so the defaults are in force"},
    {&kLdapSettingsRules, CheckLdapSettings, nullptr},
    {&kManagerListRules, CheckManagerList, nullptr},
};

const CheckedFile kSyslogFile = {
    nullptr, CheckSyslogSettings,
    "not there, so lines are sent to this machine, port 514, over UDP"};

struct CheckTotals {
  int files = 0;
  long errors = 0;
  long warnings = 0;

  void Add(CheckReport& report) {
    report.PrintFindings();
    errors += report.Errors();
    warnings += report.Warnings();
  }
};

bool IsMissing(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

void CheckFile(const std::string& path, const CheckedFile& file, CheckTotals& totals) {
  CheckReport report(path);
  if (!IsMissing(report.Path())) {
    ++totals.files;
    std::printf("== %s\n", report.Path().c_str());
    file.check(report);
  } else if (file.required) {
    report.Error(0, file.whenMissing);
  } else if (file.whenMissing != nullptr) {
    report.Note(0, file.whenMissing);
  }
  totals.Add(report);
}

// The files of the folder that look like misspelled ones.
void CheckFileNames(const std::string& folder, CheckTotals& totals) {
  std::vector<std::string_view> known;
  for (const CheckedFile& file : kFiles) known.emplace_back(file.rules->file);
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    names.push_back(entry->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) {
    const bool xml = name.size() > 4 && strcasecmp(name.c_str() + name.size() - 4, ".xml") == 0;
    if (!xml || std::find(known.begin(), known.end(), name) != known.end()) continue;
    const std::string_view nearest = NearestName(name, known);
    if (nearest.empty()) continue;
    CheckReport report(std::string(folder).append("/").append(name));
    report.Warning(0, "the agent does not read a file of this name; did you mean " +
                          std::string(nearest) + "?");
    totals.Add(report);
  }
}

}  // namespace

ExitStatus CheckConfig(const std::string& home, const std::string& ldapSettings,
                       const std::string& syslogSettings) {
  std::string folder = home;
  while (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
  folder += "/config";
  CheckTotals totals;
  struct stat status {};
  if (stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
    for (const CheckedFile& file : kFiles) {
      const bool elsewhere = file.rules == &kLdapSettingsRules && !ldapSettings.empty();
      CheckFile(elsewhere ? ldapSettings : folder + "/" + file.rules->file, file, totals);
    }
    CheckFileNames(folder, totals);
  } else {
    CheckReport report(folder);
    report.Error(0, "there is no such folder; a home holds bin, config, outbox and tmp");
    totals.Add(report);
  }
  if (!syslogSettings.empty()) CheckFile(syslogSettings, kSyslogFile, totals);
  std::printf("wkagentd: %d files checked, %ld errors, %ld warnings\n", totals.files, totals.errors,
              totals.warnings);
  std::fflush(stdout);
  return totals.errors == 0 ? kDone : kBadConfiguration;
}

}  // namespace wkagent
