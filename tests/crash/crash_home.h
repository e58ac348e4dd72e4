#ifndef WKAGENT_TESTS_CRASH_CRASH_HOME_H
#define WKAGENT_TESTS_CRASH_CRASH_HOME_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace wkagent::test {

// The events that audit files hold, or are to hold, in their order.
struct AuditedEvents {
  std::vector<std::string> changes;  // "OBJECT=VALUE"
  std::vector<std::string> logins;   // the user

  bool operator==(const AuditedEvents&) const = default;
};

// A feed and what must come of it.
struct CrashFeed {
  std::string kind;  // as --feed names it
  std::string text = {};
  AuditedEvents expected = {};
  long malformed = 0;
  long dropped = 0;
};

// JSON lines numbered from `first` to before `end`: changes, logins, events that the filter drops,
// and lines that are none.
[[nodiscard]] CrashFeed JsonFeed(int first, int end);

// Change log records with three values each, and some that cannot be understood.
[[nodiscard]] CrashFeed ChangeLogFeed(int first, int end);

// A home below `folder` in which an agent may be killed: it archives after every ten records,
// spools an alert for each, and forwards each to a collector that refuses, so that the line is
// stored.
class CrashHome {
 public:
  explicit CrashHome(const std::filesystem::path& folder);

  [[nodiscard]] std::string Path(const std::string& name = {}) const {
    return name.empty() ? folder_.string() : (folder_ / name).string();
  }
  void Write(const std::string& name, const std::string& text) const;
  void Append(const std::string& name, const std::string& text) const;

  // The agent's command line for the file "feed" of this home.
  [[nodiscard]] std::vector<std::string> Command(const std::string& kind, bool follow) const;

  // True when the position of a feed that is read once is there.
  [[nodiscard]] bool HasPosition() const;

  // True when any record is in an audit file.
  [[nodiscard]] bool HasRecords() const;

  // The number of archives in the outbox.
  [[nodiscard]] std::size_t Archives() const;

  // Takes the archives away as a receiver does; the number that have been taken.
  std::size_t TakeArchives();

  // The text of the live file of changes, and before it of the archive that was closed last.
  [[nodiscard]] std::string LatestRecords() const;

  // The text of all alerts in the spool.
  [[nodiscard]] std::string Spool() const;

 private:
  // The text of the files in a folder whose names begin so.
  [[nodiscard]] std::string TextOf(const std::string& folder, const std::string& prefix) const;

  std::filesystem::path folder_;
  std::size_t taken_ = 0;
};

// Where the lines that the collector refused are stored, and the lines.
inline constexpr char kRetryStore[] = "/opt/mossgrove/auditdata/nsa";
[[nodiscard]] std::string StoredLines();

// What the audit files of these homes hold, as a parser of another origin than the writer reads
// them. Throws where one is not well-formed, or where something of a crash was left.
[[nodiscard]] std::map<std::string, AuditedEvents> ReadHomes(const std::vector<std::string>& homes);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_CRASH_CRASH_HOME_H
