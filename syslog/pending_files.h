#ifndef WKAGENT_SYSLOG_PENDING_FILES_H
#define WKAGENT_SYSLOG_PENDING_FILES_H

#include <istream>
#include <memory>
#include <string>
#include <vector>

#include <ext/stdio_filebuf.h>

namespace wkagent {

inline constexpr char kBatchFilePrefix[] = "nsa_batch_";

// The paths of the directory's batch files, in ascending byte-wise order. False where it cannot be
// listed.
[[nodiscard]] bool ListPendingFiles(const char* directory, std::vector<std::string>& paths);

// Takes the exclusive lock of a batch file without waiting. False when somebody else has it, or has
// removed the file.
[[nodiscard]] bool LockBatchFile(int file);

// A batch file that is being sent, locked as long as it exists.
class PendingFile {
 public:
  // With `ownOnly` a link, or a file with a second name, is not opened.
  explicit PendingFile(const std::string& path, bool ownOnly = false);

  [[nodiscard]] bool IsOpen() const { return buffer_ != nullptr; }

  // Not open because another handler writes or sends it, or has just removed it.
  [[nodiscard]] bool IsBusy() const { return busy_; }

  // Reads one line, without its line feed.
  [[nodiscard]] bool ReadLine(std::string& line);

  // True once everything was read; false also after a read that failed.
  [[nodiscard]] bool IsAtEnd() const { return stream_.eof() && !stream_.bad(); }

  [[nodiscard]] bool Remove();

 private:
  const std::string path_;
  bool busy_ = false;
  std::unique_ptr<__gnu_cxx::stdio_filebuf<char>> buffer_;  // not inherited, unlike std::ifstream's
  std::istream stream_{nullptr};
};

}  // namespace wkagent

#endif  // WKAGENT_SYSLOG_PENDING_FILES_H
