#ifndef WKAGENT_OUTPUT_AUDIT_FRAME_H
#define WKAGENT_OUTPUT_AUDIT_FRAME_H

#include <string>
#include <string_view>

namespace wkagent {

// How an audit file is laid out: a line an element, records indented by four blanks, and no raw
// line break within a value.

// What it begins with, up to its first record, and what it ends with.
struct AuditFrame {
  AuditFrame(const std::string& root, const std::string& group)
      : head("<?xml version=\"1.0\"?>\n<" + root + ">\n  <" + group),
        tail("  </" + group + ">\n</" + root + ">\n") {}

  std::string head;  // without the end of the last start tag
  std::string tail;
};

// Of a line without its end: whether a record begins with it, and whether one ends with it.
[[nodiscard]] inline bool BeginsRecord(std::string_view line) {
  return line.starts_with("    <") && !line.starts_with("    </");
}
[[nodiscard]] inline bool EndsRecord(std::string_view line) {
  return line.starts_with("    </") || (BeginsRecord(line) && line.ends_with("/>"));
}

}  // namespace wkagent

#endif  // WKAGENT_OUTPUT_AUDIT_FRAME_H
