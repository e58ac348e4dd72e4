#ifndef WKAGENT_OUTPUT_DAMAGED_FILE_H
#define WKAGENT_OUTPUT_DAMAGED_FILE_H

#include <string>

#include "output/audit_frame.h"

namespace wkagent {

// After a power failure a file may hold zero bytes where blocks have not reached the disk, also in
// its middle. Replaces the file by one with its whole records, in one step, or by an empty one
// where there are none. False where that fails; the file is then as it was.
[[nodiscard]] bool KeepWholeRecords(const std::string& path, const AuditFrame& frame);

}  // namespace wkagent

#endif  // WKAGENT_OUTPUT_DAMAGED_FILE_H
