#ifndef WKAGENT_TESTS_OUTPUT_AUDIT_FILE_H
#define WKAGENT_TESTS_OUTPUT_AUDIT_FILE_H

// What closed audit files hold, as a parser of another origin than the library's writer reads them.

#include <string>
#include <utility>
#include <vector>

namespace wkagent::test {

using Attributes = std::vector<std::pair<std::string, std::string>>;

struct AuditElement {
  int depth;  // 0 is the root element
  std::string name;
  Attributes attributes;  // in document order
};

struct AuditFile {
  // The name of every element, in document order.
  [[nodiscard]] std::vector<std::string> Names() const;

  // The elements inside the one inside the root element.
  [[nodiscard]] std::vector<AuditElement> Records() const;

  // The values of the records' attribute "Number".
  [[nodiscard]] std::vector<int> Numbers() const;

  std::vector<AuditElement> elements;
};

// Parses audit files. Throws with the parser's words where one is not complete and well-formed.
std::vector<AuditFile> ParseAuditFiles(const std::vector<std::string>& paths);
AuditFile ParseAuditFile(const std::string& path);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_OUTPUT_AUDIT_FILE_H
