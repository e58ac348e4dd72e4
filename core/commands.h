#ifndef WKAGENT_CORE_COMMANDS_H
#define WKAGENT_CORE_COMMANDS_H

namespace wkagent {

// What the library does by a command, or by itself where the host has forbidden commands
// (WKCommands). The results are those of system(3): 0, or the exit status 1.

// True once the host has forbidden them.
[[nodiscard]] bool CommandsAreForbidden();

// `touch`: creates an empty file, or renews the time of one. It follows no link.
[[nodiscard]] int TouchFile(const char* path);

// `rm -f`: deletes a file; one that is not there is deleted already.
[[nodiscard]] int DeleteFile(const char* path);

}  // namespace wkagent

#endif  // WKAGENT_CORE_COMMANDS_H
