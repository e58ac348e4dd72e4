#include "agent/distinguished_name.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace wkagent {
namespace {

int HexValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  const int lower = std::tolower(static_cast<unsigned char>(digit));
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// True when the last character stands behind a backslash that is not itself escaped.
bool EndsEscaped(std::string_view text) {
  text.remove_suffix(1);
  const std::size_t slashes = text.size() - (text.find_last_not_of('\\') + 1);
  return slashes % 2 != 0;
}

std::string_view Trimmed(std::string_view text) {
  while (text.starts_with(' ')) text.remove_prefix(1);
  // An escaped blank at the end belongs to the value.
  while (text.ends_with(' ') && !EndsEscaped(text)) text.remove_suffix(1);
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

// The RDNs of a name, each with its "type=value" texts in lower case, sorted.
using Rdns = std::vector<std::vector<std::string>>;

Rdns ComparableRdns(std::string_view name) {
  Rdns rdns;
  while (!name.empty()) {
    std::string_view rdn = TakePart(name, ",;");
    std::vector<std::string>& pairs = rdns.emplace_back();
    while (!rdn.empty()) {
      const std::string_view pair = TakePart(rdn, "+");
      std::string& text = pairs.emplace_back(Trimmed(pair.substr(0, pair.find('='))));
      text += '=';
      AppendUnescaped(ValueOf(pair), text);
      for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    std::sort(pairs.begin(), pairs.end());
  }
  return rdns;
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
  return ComparableRdns(left) == ComparableRdns(right);
}

bool IsAtOrBelow(std::string_view name, std::string_view ancestor) {
  const Rdns whole = ComparableRdns(name);
  const Rdns end = ComparableRdns(ancestor);
  return end.size() <= whole.size() && std::equal(end.rbegin(), end.rend(), whole.rbegin());
}

}  // namespace wkagent
