#include "output/safe_archive.h"

#include <cerrno>
#include <cstdio>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

#include "core/folder_names.h"
#include "core/own_file.h"

namespace wkagent {
namespace {

constexpr char kPending[] = ".pending";
constexpr std::size_t kStampLength = 14;

std::string Numbered(int number) {
  char text[16];
  std::snprintf(text, sizeof(text), "_%04d", number);
  return text;
}

int RenameWithoutReplacing(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // The file system cannot do it in one step; the outbox has no other writer of these names.
  if (access(to.c_str(), F_OK) == 0) return EEXIST;
  return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

// True for "20261115082205_0001.pending".
bool IsNameOfSetAside(std::string_view name) {
  if (!name.ends_with(kPending)) return false;
  name.remove_suffix(sizeof(kPending) - 1);
  constexpr std::string_view kDigits = "0123456789";
  return name.size() > kStampLength + 1 && name[kStampLength] == '_' &&
         name.substr(0, kStampLength).find_first_not_of(kDigits) == std::string_view::npos &&
         name.substr(kStampLength + 1).find_first_not_of(kDigits) == std::string_view::npos;
}

// Moves `from` to the first free name of those that `name(number)` gives from `number` on.
template <typename Name>
Move MoveToFreeName(const std::string& from, int number, Name name) {
  Move move;
  do {
    move.number = number++;
    move.to = name(move.number);
    move.error = RenameWithoutReplacing(from, move.to);
  } while (move.error == EEXIST);
  return move;
}

}  // namespace

std::string ArchivePath(const std::string& rootElement, const std::string& stamp, int number) {
  return "../outbox/" + rootElement.substr(0, 3) + stamp + (number == 0 ? "" : Numbered(number)) +
         ".xml";
}

Move Archive(const std::string& from, const std::string& rootElement, const std::string& stamp) {
  Move move{ArchivePath(rootElement, stamp, 0)};
  errno = 0;
  if (std::rename(from.c_str(), move.to.c_str()) != 0) move.error = errno;
  return move;
}

Move ArchiveWithoutReplacing(const std::string& from, const std::string& rootElement,
                             const std::string& stamp, int number) {
  return MoveToFreeName(from, number,
                        [&](int next) { return ArchivePath(rootElement, stamp, next); });
}

Move SetAside(const std::string& liveFile, const std::string& stamp) {
  return MoveToFreeName(liveFile, 1, [&](int number) {
    return liveFile + "." + stamp + Numbered(number) + kPending;
  });
}

std::vector<std::string> FilesSetAside(const std::string& liveFile) {
  const std::size_t slash = liveFile.rfind('/');
  const bool inFolder = slash != std::string::npos;
  const std::string folder = inFolder ? liveFile.substr(0, slash + 1) : ".";
  const std::string prefix = (inFolder ? liveFile.substr(slash + 1) : liveFile) + ".";
  std::vector<std::string> names;
  (void)ListFolder(folder.c_str(), names);  // what cannot be listed now is archived later
  std::vector<std::string> files;
  for (const std::string& name : names) {
    if (!name.starts_with(prefix) ||
        !IsNameOfSetAside(std::string_view(name).substr(prefix.size()))) {
      continue;
    }
    const std::string path = liveFile + name.substr(prefix.size() - 1);
    if (IsOwnFileOrNothing(path.c_str())) files.push_back(path);
  }
  return files;
}

std::string StampOf(const std::string& liveFile, const std::string& setAside) {
  return setAside.substr(liveFile.size() + 1, kStampLength);
}

}  // namespace wkagent
