#ifndef WKAGENT_AGENT_WHOLE_FILE_H
#define WKAGENT_AGENT_WHOLE_FILE_H

#include <string>

namespace wkagent {

// A small file that is replaced as a whole, so that it never holds half a text.

// Reads the file; false, with errno set, where that fails.
[[nodiscard]] bool LoadFile(const std::string& path, std::string& text);

// Replaces the file, through one with ".new" at its name's end; false, with errno set, where that
// fails, and the old file then stays.
[[nodiscard]] bool ReplaceFile(const std::string& path, const std::string& text);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_WHOLE_FILE_H
