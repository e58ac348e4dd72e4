#include "faults/file_names.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace wkagent::faults {
namespace {

void Link(const char* link, Text& text) {
  char target[PATH_MAX];
  const long length = syscall(SYS_readlinkat, AT_FDCWD, link, target, sizeof(target));
  if (length > 0) text << std::string_view(target, static_cast<std::size_t>(length));
}

}  // namespace

void NameOf(int file, Text& whole) {
  if (file == AT_FDCWD) return Link("/proc/self/cwd", whole);
  Text link;
  link << "/proc/self/fd/" << file;
  Link(link.Get(), whole);
}

void Resolve(std::string_view path, int folder, Text& whole) {
  if (!path.starts_with('/')) NameOf(folder, whole);
  while (!path.empty()) {
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string_view part = path.substr(0, end);
    if (part == "..") {
      whole.Up();
    } else if (!part.empty() && part != ".") {
      whole << "/" << part;
    }
    path.remove_prefix(std::min(end + 1, path.size()));
  }
}

}  // namespace wkagent::faults
