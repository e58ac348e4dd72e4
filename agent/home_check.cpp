#include "agent/home_check.h"

#include <cstdio>
#include <filesystem>

#include <pwd.h>
#include <sys/stat.h>

#include "agent/home_path.h"
#include "core/own_file.h"

namespace wkagent {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kOthers = S_IWOTH;
constexpr mode_t kGroupAndOthers = S_IWGRP | S_IWOTH;

struct Folder {
  const char* name;
  mode_t forbidden;  // who may not write
};

constexpr Folder kFolders[] = {{"", kGroupAndOthers},
                               {"/bin", kGroupAndOthers},
                               {"/config", kGroupAndOthers},
                               {"/tmp", kGroupAndOthers},
                               {"/outbox", kOthers}};

// In tmp; positions of feeds, too.
constexpr const char* kWritten[] = {"EDALive.xml", "ELALive.xml", "wkagentd.lock",
                                    "wkagentd.status"};
constexpr char kPosition[] = ".position";

std::string NameOf(uid_t user) {
  const passwd* const entry = getpwuid(user);
  return entry == nullptr ? "user " + std::to_string(user) : entry->pw_name;
}

bool IsTrusted(uid_t owner, const Account& account) { return owner == 0 || owner == account.user; }

class HomeCheck {
 public:
  HomeCheck(const std::string& home, const Account& account)
      : account_(account), inside_(Canonical(home) + "/") {}

  // That nobody else can change what stands there; nothing may.
  void CheckRights(const std::string& path, mode_t forbidden) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return;
    if (!IsTrusted(status.st_uid, account_)) {
      Add(path, "belongs to " + NameOf(status.st_uid) + "; chown " + account_.name + " it");
    }
    if ((status.st_mode & forbidden) == 0) return;
    char mode[8];
    std::snprintf(mode, sizeof(mode), "%04o", static_cast<unsigned>(status.st_mode & 07777));
    Add(path, std::string("its mode ") + mode + " lets others write to it; chmod " +
                  (forbidden == kOthers ? "o-w" : "go-w") + " it");
  }

  // That its links, if it is or stands behind any, end in the home.
  void CheckPlace(const std::string& path) {
    const std::string target = Canonical(path);
    if (target.empty() || (target + "/").starts_with(inside_)) return;
    Add(path, "leads out of the home, to " + target + "; move that into the home");
  }

  void CheckWritten(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || IsOwnFile(status)) return;
    Add(path,
        "is a link, has a second name, or is no file; the agent does not write to it. Find "
        "out who made it, and remove it");
  }

  std::vector<std::string> TakeProblems() { return std::move(problems_); }

 private:
  // Empty where there is no such file.
  static std::string Canonical(const std::string& path) {
    std::error_code error;
    return fs::canonical(path, error).string();
  }

  void Add(const std::string& path, const std::string& what) {
    problems_.push_back(path + ": " + what);
  }

  const Account& account_;
  const std::string inside_;
  std::vector<std::string> problems_;
};

}  // namespace

std::vector<std::string> CheckHome(const std::string& home, const Account& account,
                                   const std::vector<std::string>& moreSettings) {
  HomeCheck check(home, account);
  for (const Folder& folder : kFolders) {
    check.CheckPlace(home + folder.name);
    check.CheckRights(home + folder.name, folder.forbidden);
  }
  for (const char* const name : kSettingsFiles) {
    const std::string file = home + "/config/" + name;
    check.CheckPlace(file);
    check.CheckRights(file, kGroupAndOthers);
  }
  for (const std::string& file : moreSettings) check.CheckRights(file, kGroupAndOthers);
  const std::string folder = home + "/tmp/";
  for (const char* const name : kWritten) check.CheckWritten(folder + name);
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    if (entry->path().extension() == kPosition) check.CheckWritten(entry->path());
  }
  return check.TakeProblems();
}

std::string CheckFoldersAbove(const std::string& home, const Account& account) {
  std::error_code error;
  fs::path folder = fs::canonical(home, error);
  while (folder.has_relative_path()) {
    folder = folder.parent_path();
    struct stat status {};
    if (stat(folder.c_str(), &status) != 0) continue;
    const bool open = (status.st_mode & kGroupAndOthers) != 0 && (status.st_mode & S_ISVTX) == 0;
    if (IsTrusted(status.st_uid, account) && !open) continue;
    return folder.string() +
           (open ? ": others may write to it" : ": belongs to " + NameOf(status.st_uid)) +
           ", who could put another home in the place of " + home;
  }
  return {};
}

}  // namespace wkagent
