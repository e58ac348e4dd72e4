#include "core/shell_command.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace wkagent {
namespace {

constexpr int kCommandNotFound = 127 << 8;  // what a shell that finds no such program exits with

bool IsPlainWord(const char* path) {
  constexpr const char* kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._/:@%+,-";
  return path[0] != '\0' && path[0] != '-' && path[std::strspn(path, kPlain)] == '\0';
}

int RunWithoutShell(const char* program, const char* path) {
  // "--" keeps a name that begins with a dash from being read as an option.
  char* const arguments[] = {const_cast<char*>(program), const_cast<char*>("--"),
                             const_cast<char*>(path), nullptr};
  pid_t child = -1;
  if (posix_spawnp(&child, program, nullptr, nullptr, arguments, environ) != 0) {
    return kCommandNotFound;
  }
  int status = -1;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return status;
}

}  // namespace

int RunOnPath(const char* command, const char* program, const char* path) {
  if (!IsPlainWord(path)) return RunWithoutShell(program, path);
  return std::system(command);
}

}  // namespace wkagent
