#ifndef WKAGENT_AGENT_WHOLE_FILE_H
#define WKAGENT_AGENT_WHOLE_FILE_H

#include <string>

namespace wkagent {

// A small file that is replaced as a whole, so that it never holds half a text.

// Reads the file; false, with errno set, where that fails.
[[nodiscard]] bool LoadFile(const std::string& path, std::string& text);

// Replaces the file, through one with ".new" at its name's end, and puts it on the disk; false,
// with errno set, where that fails. The file then is the old or the new one.
[[nodiscard]] bool ReplaceFile(const std::string& path, const std::string& text);

// Removes the file, also from the disk, and what a broken replacement left; false, with errno set,
// where that fails. There need not be such a file.
[[nodiscard]] bool RemoveFile(const std::string& path);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_WHOLE_FILE_H
