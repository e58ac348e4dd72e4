#include "agent/distinguished_name.h"

#include <cctype>

#include <strings.h>

namespace wkagent {
namespace {

int HexValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  const int lower = std::tolower(static_cast<unsigned char>(digit));
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string_view Trimmed(std::string_view text) {
  while (text.starts_with(' ')) text.remove_prefix(1);
  // An escaped blank at the end belongs to the value.
  while (text.ends_with(' ') && !text.ends_with("\\ ")) text.remove_suffix(1);
  return text;
}

// Where the first of `separators` stands that is neither escaped nor quoted; the length where none
// does.
std::size_t FindSeparator(std::string_view text, std::string_view separators) {
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '"') {
      quoted = !quoted;
    } else if (!quoted && separators.find(text[i]) != std::string_view::npos) {
      return i;
    }
  }
  return text.size();
}

// Takes the part before the first separator off the front of `rest`.
std::string_view TakePart(std::string_view& rest, std::string_view separators) {
  const std::size_t end = FindSeparator(rest, separators);
  const std::string_view part = rest.substr(0, end);
  rest.remove_prefix(end < rest.size() ? end + 1 : end);
  return Trimmed(part);
}

void AppendUnescaped(std::string_view value, std::string& out) {
  if (value.size() >= 2 && value.starts_with('"') && value.ends_with('"')) {
    value = value.substr(1, value.size() - 2);
  }
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] != '\\' || i + 1 == value.size()) {
      out += value[i];
      continue;
    }
    const int high = HexValue(value[i + 1]);
    const int low = i + 2 < value.size() ? HexValue(value[i + 2]) : -1;
    if (high >= 0 && low >= 0) {
      out += static_cast<char>(high << 4 | low);
      i += 2;
    } else {
      out += value[++i];
    }
  }
}

// The value of "type=value", or the whole where there is no type.
std::string_view ValueOf(std::string_view pair) {
  const std::size_t equals = pair.find('=');
  return equals == std::string_view::npos ? pair : Trimmed(pair.substr(equals + 1));
}

// A name in a form in which equal names are equal but for case.
std::string Comparable(std::string_view name) {
  std::string text;
  while (!name.empty()) {
    std::string_view rdn = TakePart(name, ",;");
    while (!rdn.empty()) {
      const std::string_view pair = TakePart(rdn, "+");
      text += '\1';
      text += Trimmed(pair.substr(0, pair.find('=')));
      text += '\2';
      AppendUnescaped(ValueOf(pair), text);
    }
    text += '\3';
  }
  return text;
}

bool SameIgnoringCase(std::string_view left, std::string_view right) {
  return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

}  // namespace

std::string DottedName(std::string_view name) {
  std::string dotted;
  for (bool first = true; !name.empty(); first = false) {
    std::string_view rdn = TakePart(name, ",;");
    if (!first) dotted += '.';
    for (bool firstPair = true; !rdn.empty(); firstPair = false) {
      if (!firstPair) dotted += '+';
      AppendUnescaped(ValueOf(TakePart(rdn, "+")), dotted);
    }
  }
  return dotted;
}

std::string_view ParentName(std::string_view name) {
  TakePart(name, ",;");
  return Trimmed(name);
}

bool SameName(std::string_view left, std::string_view right) {
  return SameIgnoringCase(Comparable(left), Comparable(right));
}

bool IsAtOrBelow(std::string_view name, std::string_view ancestor) {
  const std::string whole = Comparable(name);
  const std::string end = Comparable(ancestor);
  if (end.size() > whole.size()) return false;
  const std::size_t start = whole.size() - end.size();
  // An RDN begins at the front or after the end of another one.
  if (start > 0 && !end.empty() && whole[start - 1] != '\3') return false;
  return SameIgnoringCase(std::string_view(whole).substr(start), end);
}

}  // namespace wkagent
