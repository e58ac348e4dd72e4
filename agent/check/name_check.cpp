#include "agent/check/name_check.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

#include <wkagent/filter.h>
#include <wkagent/output.h>

#include "agent/distinguished_name.h"

namespace wkagent {
namespace {

constexpr std::size_t kLongestConverted = 254;

std::optional<Finding> Error(std::string text) {
  return Finding{Severity::kError, std::move(text)};
}
std::optional<Finding> Warning(std::string text) {
  return Finding{Severity::kWarning, std::move(text)};
}

bool IsTyped(std::string_view name) { return name.find('=') != std::string_view::npos; }

std::string Replaced(std::string text, char from, char to) {
  std::replace(text.begin(), text.end(), from, to);
  return text;
}

std::string FirstComponent(const std::string& dotted) { return dotted.substr(0, dotted.find('.')); }

// What is wrong with a name in comma form, if anything. `part` makes of a dotted name what is to be
// written.
template <typename Part>
std::optional<Finding> CheckTyped(const ValuePlace& place, const std::string& written,
                                  const std::string& stored, Part part) {
  const std::string quoted = Quote(place, written);
  const std::string dotted = DottedName(written);
  if (dotted.size() > kLongestConverted) {
    return Error(quoted + " is cut at " + std::to_string(kLongestConverted) +
                 " bytes of its dotted form; shorten it");
  }
  if (IsTyped(stored)) {
    const std::string meant = DottedName(Replaced(written, '.', ','));
    return Error(quoted + " is looked for as " + Quote(stored) +
                 ", since commas separate the parts of a typed name; write " +
                 Write(place, part(IsTyped(meant) ? Replaced(meant, '=', '.') : meant)));
  }
  if (stored == dotted) return {};
  return Error(quoted + " is looked for as " + Quote(stored) + ", but events bear " +
               Quote(dotted) + "; write " + Write(place, part(dotted)));
}

// True for a name such as admin,sales,acme: commas where dots should be.
bool HasCommasForDots(const std::string& name) {
  return name.find('.') == std::string::npos && name.find(',') != std::string::npos &&
         name.find(' ') == std::string::npos;
}

std::optional<Finding> CheckOwnName(const ValuePlace& place, const std::string& written,
                                    const std::string& stored) {
  if (stored.find('.') == std::string::npos) return {};
  return Error(Quote(place, written) + " is looked for as " + Quote(stored) +
               " in the object's own name, which ends before its first dot; write " +
               Write(place, FirstComponent(stored)));
}

std::optional<Finding> CheckBlanks(const ValuePlace& place, const std::string& written) {
  const std::string_view trimmed = WithoutBlanks(written);
  if (trimmed.size() == written.size()) return {};
  return Warning(Quote(place, written) +
                 " has blanks at its ends, which are looked for, too; write " +
                 Write(place, trimmed.empty() ? "..." : trimmed));
}

std::string_view WithoutDots(std::string_view name) {
  while (name.starts_with('.')) name.remove_prefix(1);
  while (name.ends_with('.')) name.remove_suffix(1);
  return name;
}

std::optional<Finding> CheckStars(const ValuePlace& place, const std::string& written) {
  if (written.find('*') == std::string::npos) return {};
  return Error(Quote(place, written) +
               " holds a *, which is looked for as it stands; write the name without it, or a part "
               "of the name");
}

}  // namespace

std::string StoredName(NameForm form, const std::string& written) {
  std::string name = written;
  if (form != NameForm::kDotted && form != NameForm::kOwnName) return name;
  WKFilterStatement().ConvertToNDAPFormat(name.data());
  name.resize(std::strlen(name.c_str()));  // the conversion only shortens
  return name;
}

std::optional<Finding> CheckName(const ValuePlace& place, NameForm form, std::size_t longest,
                                 const std::string& written) {
  const std::string stored = StoredName(form, written);
  if (stored.empty()) return {};
  if (form == NameForm::kOwnName) {
    if (IsTyped(written)) {
      if (auto finding = CheckTyped(place, written, stored, FirstComponent)) return finding;
    }
    if (auto finding = CheckOwnName(place, written, stored)) return finding;
  }
  if (form == NameForm::kDotted && IsTyped(written)) {
    const auto whole = [](const std::string& dotted) { return dotted; };
    if (auto finding = CheckTyped(place, written, stored, whole)) return finding;
  }
  if (stored.size() > longest) {
    return Error(Quote(place, written) + " has " + std::to_string(stored.size()) +
                 " bytes, and the text it is looked for in at most " + std::to_string(longest) +
                 "; shorten it");
  }
  if (form == NameForm::kValue) return {};
  if (form == NameForm::kDotted && !IsTyped(written) && HasCommasForDots(written)) {
    return Warning(Quote(place, written) + " is looked for with its commas; write " +
                   Write(place, Replaced(written, ',', '.')));
  }
  if (auto finding = CheckStars(place, written)) return finding;
  return CheckBlanks(place, written);
}

std::optional<Finding> CheckContext(const std::string& written) {
  constexpr std::size_t kLongest = sizeof(tagWKEventData::Object1) - 1;
  const ValuePlace place{"Filter", "Context"};
  const std::string stored = StoredName(NameForm::kDotted, written);
  if (!written.empty() && stored.empty()) {
    return Error(Quote(place, written) + " names no container; write " + Write(place, "") +
                 " for the whole directory");
  }
  if (stored.starts_with('.') || stored.ends_with('.')) {
    return Error(Quote(place, written) + " is looked for as " + Quote(stored) +
                 ", with a dot at its end; write " + Write(place, WithoutDots(stored)));
  }
  auto finding = CheckName(place, NameForm::kDotted, kLongest, written);
  // Unlike an entry of a list, a container with such a mistake is none at all.
  if (finding) finding->severity = Severity::kError;
  return finding;
}

}  // namespace wkagent
