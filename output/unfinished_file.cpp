#include "output/unfinished_file.h"

#include <cstdio>
#include <optional>
#include <string_view>

#include <sys/types.h>
#include <unistd.h>

#include "core/own_file.h"
#include "output/audit_frame.h"
#include "output/damaged_file.h"
#include "output/line_reader.h"

namespace wkagent {
namespace {

// Reads up to `size` bytes from `offset` on, counted from the file's end where it is negative.
std::optional<std::string> ReadAt(std::FILE* file, long offset, std::size_t size) {
  std::string text(size, '\0');
  if (std::fseek(file, offset, offset < 0 ? SEEK_END : SEEK_SET) != 0) return std::string();
  text.resize(std::fread(text.data(), 1, size, file));
  if (std::ferror(file) != 0) return std::nullopt;
  return text;
}

struct Scan {
  off_t end = 0;         // behind the last line that ends a record, 0 where there is none
  bool damaged = false;  // it holds zero bytes, which no text does
  bool holed = false;    // the same before that end
  bool blank = true;     // it holds nothing else
};

std::optional<Scan> ScanRecords(std::FILE* file) {
  std::rewind(file);
  Scan scan;
  off_t offset = 0;
  LineReader lines(file);
  while (lines.Next()) {
    std::string_view line = lines.Line();
    scan.damaged = scan.damaged || line.find('\0') != std::string_view::npos;
    scan.blank = scan.blank && line.find_first_not_of('\0') == std::string_view::npos;
    if (!line.ends_with('\n')) break;  // a last line without line end is not whole
    offset += static_cast<off_t>(line.size());
    line.remove_suffix(1);
    if (!EndsRecord(line)) continue;
    scan.end = offset;
    scan.holed = scan.damaged;
  }
  if (lines.HasFailed()) return std::nullopt;
  return scan;
}

enum class Look { kWhole, kUnfinished, kOther, kUnreadable };

Look LookAt(std::FILE* file, const AuditFrame& frame, const std::string& rootElement) {
  const std::string rootEnd = "</" + rootElement + ">\n";
  const auto tail = ReadAt(file, -static_cast<long>(rootEnd.size()), rootEnd.size());
  const auto head = ReadAt(file, 0, frame.head.size() + 2);
  if (!tail || !head) return Look::kUnreadable;
  if (*tail == rootEnd) return Look::kWhole;
  const bool began =
      (frame.head + ">\n").starts_with(*head) || (frame.head + "/>").starts_with(*head);
  return began ? Look::kUnfinished : Look::kOther;
}

// Cuts the file after its last record and adds the end of the document.
bool CutAndComplete(const std::string& path, off_t end, const AuditFrame& frame) {
  const File appended = OpenOwnStream(path.c_str(), O_WRONLY | O_APPEND, "a");
  if (appended == nullptr || ftruncate(fileno(appended.get()), end) != 0) return false;
  if (end == 0) return true;
  return std::fputs(frame.tail.c_str(), appended.get()) >= 0 && std::fflush(appended.get()) == 0;
}

File OpenForReading(const std::string& path) { return OpenOwnStream(path.c_str(), O_RDONLY, "r"); }

}  // namespace

Completion CompleteFile(const std::string& path, const std::string& rootElement,
                        const std::string& groupElement) {
  const AuditFrame frame(rootElement, groupElement);
  const File file = OpenForReading(path);
  if (file == nullptr) return Completion::kFailed;
  const Look look = LookAt(file.get(), frame, rootElement);
  const std::optional<Scan> scan = ScanRecords(file.get());
  if (look == Look::kUnreadable || !scan) return Completion::kFailed;
  const bool ours = look != Look::kOther || scan->end > 0 || scan->blank;
  // Damage behind the last record of an unfinished file goes with what is cut off.
  if (ours && (look == Look::kUnfinished ? scan->holed : scan->damaged)) {
    return KeepWholeRecords(path, frame) ? Completion::kRepaired : Completion::kFailed;
  }
  if (look != Look::kUnfinished) return Completion::kWasComplete;
  return CutAndComplete(path, scan->end, frame) ? Completion::kCompleted : Completion::kFailed;
}

bool IsEmptyDocument(const std::string& path, const std::string& rootElement,
                     const std::string& groupElement) {
  const std::string document =
      AuditFrame(rootElement, groupElement).head + "/>\n</" + rootElement + ">\n";
  const File file = OpenForReading(path);
  return file != nullptr && ReadAt(file.get(), 0, document.size() + 1) == document;
}

bool MayHoldRecord(const std::string& path) {
  const File file = OpenForReading(path);
  if (file == nullptr) return true;
  const std::optional<Scan> scan = ScanRecords(file.get());
  return !scan || scan->end > 0;
}

}  // namespace wkagent
