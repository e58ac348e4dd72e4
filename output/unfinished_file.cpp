#include "output/unfinished_file.h"

#include <filesystem>
#include <fstream>

namespace wkagent {
namespace {

bool EndsWith(const std::string& path, const std::string& end) {
  std::ifstream file(path, std::ios::binary);
  std::string tail(end.size(), '\0');
  file.seekg(-static_cast<std::streamoff>(end.size()), std::ios::end);
  return file.read(tail.data(), static_cast<std::streamsize>(tail.size())) && tail == end;
}

// The offset behind the last line that ends a record, 0 where there is none.
std::uintmax_t EndOfLastRecord(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::uintmax_t offset = 0;
  std::uintmax_t end = 0;
  // A last line without line end is not whole.
  for (std::string line; std::getline(file, line) && !file.eof();) {
    offset += line.size() + 1;
    const bool endsElement = line.ends_with("/>") || line.starts_with("    </");
    if (line.starts_with("    <") && endsElement) end = offset;
  }
  return end;
}

}  // namespace

Completion CompleteFile(const std::string& path, const std::string& rootElement,
                        const std::string& groupElement) {
  const std::string rootEnd = "</" + rootElement + ">\n";
  if (EndsWith(path, rootEnd)) return Completion::kWasComplete;
  const std::uintmax_t end = EndOfLastRecord(path);
  std::error_code error;
  std::filesystem::resize_file(path, end, error);
  if (error) return Completion::kFailed;
  if (end == 0) return Completion::kCompleted;
  std::ofstream file(path, std::ios::binary | std::ios::app);
  file << "  </" << groupElement << ">\n" << rootEnd << std::flush;
  return file ? Completion::kCompleted : Completion::kFailed;
}

}  // namespace wkagent
