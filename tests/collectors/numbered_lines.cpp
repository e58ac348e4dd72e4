#include "collectors/numbered_lines.h"

#include <charconv>
#include <sstream>

namespace wkagent::test {
namespace {

constexpr int kKinds = 50;  // all but the first of which are alike

}  // namespace

std::string NumberedLine(int number) {
  const std::string mark = "#" + std::to_string(number) + ";";
  const std::string text = mark + " user=cn=admin,o=acme action=modify object=cn=smith,ou=sales";
  switch (number % kKinds) {
    case 0:
      return "2026-11-15 08:22:05 " + text;
    case 1:
      return "<134>1 2026-11-15T08:22:05Z node wkagentd 4711 - - " + text;
    case 2:
      return "  \t" + text + "  ";
    case 3:
      return text + "\t\x01\x1b[31m\x7f";
    case 4:
      return text + " M\xc3\xbcller M\xfcller \xff";
    case 5:
      return text + std::string(6000, 'x');
    case 6:
      return "%" + text + "\\n %msg% ${MESSAGE} \"'";
    default:
      return "audit: " + text;
  }
}

int NumberOf(const std::string& line) {
  const std::size_t mark = line.find('#');
  if (mark == line.npos) return -1;
  int number = -1;
  std::from_chars(line.data() + mark + 1, line.data() + line.size(), number);
  return number >= 0 && line == NumberedLine(number) ? number : -1;
}

Tally CountLines(const std::string& text, int sent) {
  Tally tally;
  std::vector<bool> seen(static_cast<std::size_t>(sent));
  std::istringstream lines(text);
  std::string line;
  int last = -1;
  while (std::getline(lines, line)) {
    if (line == kMark) continue;
    const int number = NumberOf(line);
    if (number < 0 || number >= sent) {
      ++tally.torn;
      continue;
    }
    const auto index = static_cast<std::size_t>(number);
    ++(seen[index] ? tally.again : tally.arrived);
    seen[index] = true;
    tally.inOrder = tally.inOrder && number > last;
    last = number;
  }
  for (int number = 0; number < sent; ++number) {
    if (seen[static_cast<std::size_t>(number)]) continue;
    tally.missing.push_back(number);
    tally.missingBytes += NumberedLine(number).size() + 1;
  }
  return tally;
}

}  // namespace wkagent::test
