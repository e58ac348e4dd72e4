#ifndef WKAGENT_TOOLS_REPLACED_FILE_H
#define WKAGENT_TOOLS_REPLACED_FILE_H

#include <string>
#include <string_view>

namespace wkagent {

enum class Existing { kKeep, kReplace };

// Why no file may be written at `path`: something else than a file is there, or a file that is to
// be kept. Empty where one may.
[[nodiscard]] std::string ReasonNotToWrite(const std::string& path, Existing existing);

// Writes a file for its owner alone that is there as a whole or not at all: through another one in
// the same folder, with signals held back meanwhile. Throws a std::runtime_error with the reason,
// and what was there before stays.
void WriteWhole(const std::string& path, std::string_view bytes, Existing existing);

}  // namespace wkagent

#endif  // WKAGENT_TOOLS_REPLACED_FILE_H
