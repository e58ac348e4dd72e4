#ifndef WKAGENT_OUTPUT_SAFE_ARCHIVE_H
#define WKAGENT_OUTPUT_SAFE_ARCHIVE_H

// Names and moves of finished audit files.
//
// An archive is "../outbox/" + the first three letters of the root element + the 14-digit local
// time + ".xml". Where no archive may replace another, a taken name gets "_0001", "_0002" ...
// before its ending. A file that cannot be archived is set aside beside the live file, under that
// file's name + "." + the 14 digits + "_0001" ... + ".pending"; by name these sort in the order in
// which they were closed.

#include <string>
#include <vector>

namespace wkagent {

// Where a file is moved to, and with what result.
struct Move {
  std::string to;
  int error = 0;   // errno, 0 when the file was moved
  int number = 0;  // of the name
};

// The archive name for a stamp; `number` 0 is the plain name.
[[nodiscard]] std::string ArchivePath(const std::string& rootElement, const std::string& stamp,
                                      int number);

// Moves `from` into the outbox; an archive of the same name is replaced.
[[nodiscard]] Move Archive(const std::string& from, const std::string& rootElement,
                           const std::string& stamp);

// Moves `from` into the outbox under the first name that is free, from `number` on.
[[nodiscard]] Move ArchiveWithoutReplacing(const std::string& from, const std::string& rootElement,
                                           const std::string& stamp, int number = 0);

// Moves the live file aside.
[[nodiscard]] Move SetAside(const std::string& liveFile, const std::string& stamp);

// The paths of what was set aside for a live file, oldest first. Links and what is no file are left
// alone: somebody else put them there.
[[nodiscard]] std::vector<std::string> FilesSetAside(const std::string& liveFile);

// The stamp in the name of a file that was set aside.
[[nodiscard]] std::string StampOf(const std::string& liveFile, const std::string& setAside);

}  // namespace wkagent

#endif  // WKAGENT_OUTPUT_SAFE_ARCHIVE_H
