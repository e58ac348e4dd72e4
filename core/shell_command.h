#ifndef WKAGENT_CORE_SHELL_COMMAND_H
#define WKAGENT_CORE_SHELL_COMMAND_H

namespace wkagent {

// Runs `command`, whose last word is `path`, through the system shell and returns the result of
// system(3). Where the shell would read `path` as anything but one plain word, `program` is started
// with `path` as its one argument instead, without a shell, with the same kind of result.
[[nodiscard]] int RunOnPath(const char* command, const char* program, const char* path);

}  // namespace wkagent

#endif  // WKAGENT_CORE_SHELL_COMMAND_H
