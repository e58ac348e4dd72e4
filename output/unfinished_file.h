#ifndef WKAGENT_OUTPUT_UNFINISHED_FILE_H
#define WKAGENT_OUTPUT_UNFINISHED_FILE_H

#include <string>

namespace wkagent {

// What became of a file: nothing had to be done, which includes that it is not an audit file with
// these names; or it was completed; or damaged parts were removed as well; or it could not be read
// or written.
enum class Completion { kWasComplete, kCompleted, kRepaired, kFailed };

// Completes an audit file whose writer was killed or ran out of disk: cuts it after the last whole
// record and adds the end of its group and root elements, so that it is XML again. A file without
// any whole record becomes empty. What does not begin as such a file does is left as it is.
//
// A file with zero bytes in it, which a power failure leaves, keeps the whole records on both sides
// of them, also where its beginning or its end is lost. A link, a file with a second name and what
// is no file are not touched: that fails.
[[nodiscard]] Completion CompleteFile(const std::string& path, const std::string& rootElement,
                                      const std::string& groupElement);

// True when the file is a complete document with these names and without any record.
[[nodiscard]] bool IsEmptyDocument(const std::string& path, const std::string& rootElement,
                                   const std::string& groupElement);

// False when the file at `path` surely holds no whole record.
[[nodiscard]] bool MayHoldRecord(const std::string& path);

}  // namespace wkagent

#endif  // WKAGENT_OUTPUT_UNFINISHED_FILE_H
