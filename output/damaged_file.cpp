#include "output/damaged_file.h"

#include <cstdio>
#include <string_view>

#include <unistd.h>

#include "core/own_file.h"
#include "output/line_reader.h"

namespace wkagent {
namespace {

constexpr mode_t kMode = 0640;

// Puts the lines of whole records together, in which nothing is missing.
class RecordSieve {
 public:
  // True when a record has ended, which `Record` then holds.
  [[nodiscard]] bool Take(std::string_view line) {
    if (!line.ends_with('\n') || line.find('\0') != std::string_view::npos) {
      inRecord_ = false;
      return false;
    }
    const std::string_view text = line.substr(0, line.size() - 1);
    if (BeginsRecord(text)) {
      inRecord_ = true;
      record_.clear();
    }
    if (!inRecord_) return false;
    record_ += line;
    if (!EndsRecord(text)) return false;
    inRecord_ = false;
    return true;
  }

  [[nodiscard]] const std::string& Record() const { return record_; }

 private:
  bool inRecord_ = false;
  std::string record_;
};

// Copies the whole records; false where reading or writing fails.
bool CopyRecords(std::FILE* from, std::FILE* to, const AuditFrame& frame) {
  const auto put = [to](const std::string& text) { std::fwrite(text.data(), 1, text.size(), to); };
  RecordSieve sieve;
  LineReader lines(from);
  bool any = false;
  while (lines.Next()) {
    if (!sieve.Take(lines.Line())) continue;
    if (!any) put(frame.head + ">\n");
    any = true;
    put(sieve.Record());
  }
  if (any) put(frame.tail);
  return !lines.HasFailed() && std::fflush(to) == 0 && std::ferror(to) == 0;
}

}  // namespace

bool KeepWholeRecords(const std::string& path, const AuditFrame& frame) {
  const std::string fresh = path + ".repaired";
  if (!RemoveFormer(fresh.c_str())) return false;
  {
    const File from = OpenOwnStream(path.c_str(), O_RDONLY, "r");
    const File to = OpenOwnStream(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL, "w", kMode);
    if (from == nullptr || to == nullptr) return false;
    // What is renamed over the only copy of the records has to be there.
    const bool copied = CopyRecords(from.get(), to.get(), frame) && fsync(fileno(to.get())) == 0;
    if (copied && std::rename(fresh.c_str(), path.c_str()) == 0) return true;
  }
  unlink(fresh.c_str());
  return false;
}

}  // namespace wkagent
