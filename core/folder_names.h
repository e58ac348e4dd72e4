#ifndef WKAGENT_CORE_FOLDER_NAMES_H
#define WKAGENT_CORE_FOLDER_NAMES_H

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include <dirent.h>

namespace wkagent {

struct FolderCloser {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

// Lists the names in a folder, in ascending byte-wise order. False, with errno set and as many
// names as were read, where that fails. Not by std::filesystem, whose iterators end the process
// where memory runs out.
[[nodiscard]] inline bool ListFolder(const char* path, std::vector<std::string>& names) {
  const std::unique_ptr<DIR, FolderCloser> folder(::opendir(path));
  if (folder == nullptr) return false;
  errno = 0;
  while (const dirent* const entry = ::readdir(folder.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
    errno = 0;
  }
  const int error = errno;
  std::sort(names.begin(), names.end());
  errno = error;
  return error == 0;
}

}  // namespace wkagent

#endif  // WKAGENT_CORE_FOLDER_NAMES_H
