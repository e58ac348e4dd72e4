#ifndef WKAGENT_OUTPUT_LIVE_FILE_H
#define WKAGENT_OUTPUT_LIVE_FILE_H

#include <libxml/xmlwriter.h>

namespace wkagent {

// Creates or empties the file at `path` and returns a text writer on it, null where that fails. The
// errno of the first write that fails is put into `*error`, which must outlive the writer. The
// writer's own buffer, where its text goes, is put into `*textBuffer`. With `fresh` only a file
// that was not there before will do; it has the mode 0640.
//
// The file is opened here and not by libxml2, which would read escapes in the path, leave the
// descriptor open to programs that the host starts, and keep the reason of a failed write to
// itself.
[[nodiscard]] xmlTextWriter* NewFileWriter(const char* path, int* error,
                                           xmlOutputBuffer** textBuffer = nullptr,
                                           bool fresh = false);

// Has the system put on the disk what the writer of this buffer has handed over; an error is noted
// as that of a write is.
void SyncText(xmlOutputBuffer* textBuffer);

}  // namespace wkagent

#endif  // WKAGENT_OUTPUT_LIVE_FILE_H
