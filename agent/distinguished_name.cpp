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

// The characters that end a part of a name: commas, or semicolons in older names, between RDNs, and
// the plus signs within one.
using IsSeparator = bool (*)(char c);
constexpr bool EndsRdn(char c) { return c == ',' || c == ';'; }
constexpr bool EndsPair(char c) { return c == '+'; }

// Where the first separator stands that is neither escaped nor quoted; the length where none does.
template <IsSeparator kIsSeparator>
std::size_t FindSeparator(std::string_view text) {
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '"') {
      quoted = !quoted;
    } else if (!quoted && kIsSeparator(text[i])) {
      return i;
    }
  }
  return text.size();
}

// Takes the part before the first separator off the front of `rest`.
template <IsSeparator kIsSeparator>
std::string_view TakePart(std::string_view& rest) {
  const std::size_t end = FindSeparator<kIsSeparator>(rest);
  const std::string_view part = rest.substr(0, end);
  rest.remove_prefix(end < rest.size() ? end + 1 : end);
  return Trimmed(part);
}

void AppendUnescaped(std::string_view value, std::string& out) {
  if (value.size() >= 2 && value.starts_with('"') && value.ends_with('"')) {
    value = value.substr(1, value.size() - 2);
  }
  const std::size_t plain = std::min(value.find('\\'), value.size());
  out.append(value, 0, plain);
  for (std::size_t i = plain; i < value.size(); ++i) {
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

// The "type=value" texts of an RDN in lower case, sorted.
std::vector<std::string> ComparablePairs(std::string_view rdn) {
  std::vector<std::string> pairs;
  while (!rdn.empty()) {
    const std::string_view pair = TakePart<EndsPair>(rdn);
    std::string& text = pairs.emplace_back(Trimmed(pair.substr(0, pair.find('='))));
    text += '=';
    AppendUnescaped(ValueOf(pair), text);
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  std::sort(pairs.begin(), pairs.end());
  return pairs;
}

bool SameRdn(std::string_view left, std::string_view right) {
  return left == right || ComparablePairs(left) == ComparablePairs(right);
}

// True when `name` ends with a comma and the very text of `ancestor`, and that comma parts RDNs.
bool EndsAsWritten(std::string_view name, std::string_view ancestor) {
  if (name.size() <= ancestor.size() || !name.ends_with(ancestor)) return false;
  const std::string_view below = name.substr(0, name.size() - ancestor.size());
  return below.ends_with(',') && below.find('\\') == std::string_view::npos &&
         below.find('"') == std::string_view::npos;
}

std::size_t CountRdns(std::string_view name) {
  std::size_t count = 0;
  for (; !name.empty(); ++count) TakePart<EndsRdn>(name);
  return count;
}

}  // namespace

std::string DottedName(std::string_view name) {
  std::string dotted;
  dotted.reserve(name.size());
  for (bool first = true; !name.empty(); first = false) {
    std::string_view rdn = TakePart<EndsRdn>(name);
    if (!first) dotted += '.';
    for (bool firstPair = true; !rdn.empty(); firstPair = false) {
      if (!firstPair) dotted += '+';
      AppendUnescaped(ValueOf(TakePart<EndsPair>(rdn)), dotted);
    }
  }
  return dotted;
}

std::string_view ParentName(std::string_view name) {
  TakePart<EndsRdn>(name);
  return Trimmed(name);
}

bool SameName(std::string_view left, std::string_view right) {
  while (!left.empty() && !right.empty()) {
    if (!SameRdn(TakePart<EndsRdn>(left), TakePart<EndsRdn>(right))) return false;
  }
  return left.empty() && right.empty();
}

bool IsAtOrBelow(std::string_view name, std::string_view ancestor) {
  if (EndsAsWritten(name, ancestor)) return true;
  const std::size_t depth = CountRdns(name);
  const std::size_t least = CountRdns(ancestor);
  if (depth < least) return false;
  for (std::size_t i = least; i < depth; ++i) TakePart<EndsRdn>(name);
  return SameName(name, ancestor);
}

}  // namespace wkagent
