#ifndef WKAGENT_TESTS_MONITOR_WATCHED_FOLDER_H
#define WKAGENT_TESTS_MONITOR_WATCHED_FOLDER_H

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>

#include "core/handles.h"
#include "support/agent_home.h"

namespace wkagent::test {

// The name of file `number` of a burst. Its event takes 32 bytes, as many as the shortest name's.
inline std::string BurstName(int number) {
  char name[16];
  std::snprintf(name, sizeof(name), "f%05d.xml", number);
  return name;
}

// The names of files 0 to `count` - 1.
inline std::vector<std::string> BurstNames(int count) {
  std::vector<std::string> names;
  for (int number = 0; number < count; ++number) names.push_back(BurstName(number));
  return names;
}

// A folder in which files are written, read, moved and removed.
class WatchedFolder {
 public:
  explicit WatchedFolder(std::string path) : path_(std::move(path)) {
    std::filesystem::create_directory(path_);
  }

  [[nodiscard]] const std::string& Path() const { return path_; }
  [[nodiscard]] std::string Path(const std::string& name) const { return path_ + "/" + name; }

  // Opens a file, which is closed when the result ends.
  [[nodiscard]] File Open(const std::string& name, const char* mode) const {
    return File(std::fopen(Path(name).c_str(), mode));
  }

  // Writes a file and closes it.
  void Write(const std::string& name) const { std::ofstream(Path(name)) << "text"; }

  void WriteBurst(int count) const {
    for (const std::string& name : BurstNames(count)) {
      Fd file;
      file.Reset(open(Path(name).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    }
  }

  void Read(const std::string& name) const {
    std::string text;
    std::ifstream(Path(name)) >> text;
  }

 private:
  std::string path_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_MONITOR_WATCHED_FOLDER_H
