#include "agent/whole_file.h"

#include <cstdio>

#include "core/handles.h"

namespace wkagent {

bool LoadFile(const std::string& path, std::string& text) {
  const File file(std::fopen(path.c_str(), "re"));
  if (file == nullptr) return false;
  text.clear();
  char block[4096];
  std::size_t count = 0;
  while ((count = std::fread(block, 1, sizeof(block), file.get())) > 0) text.append(block, count);
  return std::ferror(file.get()) == 0;
}

bool ReplaceFile(const std::string& path, const std::string& text) {
  const std::string fresh = path + ".new";
  File file(std::fopen(fresh.c_str(), "we"));
  if (file == nullptr) return false;
  const bool written = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
  const bool closed = std::fclose(file.release()) == 0;
  return written && closed && std::rename(fresh.c_str(), path.c_str()) == 0;
}

}  // namespace wkagent
