#include "agent/resume.h"

#include <cstdio>
#include <string_view>

#include "agent/home_path.h"
#include "agent/live_marks.h"
#include "agent/report.h"
#include "agent/text_lines.h"
#include "agent/whole_file.h"

namespace wkagent {
namespace {

// What all positions end with.
bool TakeEnd(std::string_view text, LiveMarks& marks) {
  return text.empty() || (marks.FromText(text) && text == kPositionEnd);
}

void SetAside(const std::string& home, const char* path, const std::string& why) {
  const std::string aside = std::string(path) + ".unused";
  std::rename(path, aside.c_str());
  Report(InHome(home, path) + ": " + why + "; the file is now " + InHome(home, aside));
}

void CutBack(const std::string& home, const LiveMarks& marks) {
  for (const std::string& message : marks.CutBack()) Report(InHome(home, message));
}

// Another feed is read, whose live files are none of this position's business.
void DropMarks(const char* path) {
  std::string text;
  if (!LoadFile(path, text)) return;
  const std::size_t marks = text.find("\nlive ");
  if (marks == std::string::npos) return;
  (void)ReplaceFile(path, text.substr(0, marks + 1).append(kPositionEnd));
}

void ResumeLog(const std::string& home, bool fromStart, Source& source, Pipeline& pipeline) {
  const std::string log = source.LogName();
  std::string text;
  LogPosition position;
  RecordedEntries recorded;
  LiveMarks marks;
  const auto read = [&] {
    if (!position.FromText(text, log)) return false;
    const std::size_t behind = text.find("\n\n", text.find("\n\n") + 1);
    if (behind == std::string::npos) return true;
    std::string_view rest = std::string_view(text).substr(behind + 2);
    return TakeRecorded(rest, recorded) && TakeEnd(rest, marks);
  };
  if (LoadFile(kPositionFile, text)) {
    const bool usable = read();
    if (!usable || fromStart) {
      SetAside(home, kPositionFile,
               fromStart ? log + " is read from its beginning"
                         : "not the position of " + log + ", which is read from its beginning");
      position = LogPosition();
      recorded.clear();
    } else {
      CutBack(home, marks);
    }
  }
  source.StartAt(position);
  pipeline.KeepPosition(log, position, recorded);
}

void ResumeFile(const std::string& home, const Options& options, Source& source,
                Pipeline& pipeline) {
  const char* const path = options.follow ? kFollowedPositionFile : kReadPositionFile;
  const std::string feed = source.FileName();
  std::string text;
  if (LoadFile(path, text)) {
    std::string_view rest = text;
    FeedPosition position;
    LiveMarks marks;
    if (options.fromStart) {
      SetAside(home, path, feed + " is read from its beginning");
    } else if (!position.FromText(rest, feed) || !TakeEnd(rest, marks)) {
      SetAside(home, path, "not the position of " + feed + ", which is read from its beginning");
    } else if (!source.GoOnAt(position)) {
      SetAside(home, path,
               "the file that was read is no longer beside " + feed +
                   ", which is read from its beginning: some events may be missing, others written "
                   "again");
    } else {
      CutBack(home, marks);
    }
  }
  pipeline.KeepPlace(path, feed, source.Start());
}

}  // namespace

void Resume(const std::string& home, const Options& options, Source& source, Pipeline& pipeline) {
  const bool log = !source.LogName().empty();
  const bool file = !source.FileName().empty();
  if (!log) DropMarks(kPositionFile);
  if (!file || !options.follow) DropMarks(kFollowedPositionFile);
  if (!file || options.follow) DropMarks(kReadPositionFile);
  if (log) ResumeLog(home, options.fromStart, source, pipeline);
  if (file) ResumeFile(home, options, source, pipeline);
}

}  // namespace wkagent
