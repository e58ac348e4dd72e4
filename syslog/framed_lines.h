#ifndef WKAGENT_SYSLOG_FRAMED_LINES_H
#define WKAGENT_SYSLOG_FRAMED_LINES_H

#include <span>
#include <string>
#include <string_view>

namespace wkagent {

// The lines, each followed by a line feed, as they go over a connection and into a batch file. The
// text is the calling thread's own, and valid until its next call.
[[nodiscard]] std::string_view FramedLines(std::span<const std::string> lines);

}  // namespace wkagent

#endif  // WKAGENT_SYSLOG_FRAMED_LINES_H
