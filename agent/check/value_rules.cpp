#include "agent/check/value_rules.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>

#include <strings.h>

#include "config/xml_values.h"

namespace wkagent {
namespace {

using std::to_string;

std::optional<Finding> Error(std::string text) {
  return Finding{Severity::kError, std::move(text)};
}
std::optional<Finding> Warning(std::string text) {
  return Finding{Severity::kWarning, std::move(text)};
}

// One value on its way through its check.
struct Value {
  const ValuePlace& place;
  const ValueRule& rule;
  const std::string& text;

  [[nodiscard]] std::string Quoted() const { return Quote(place, text); }
  [[nodiscard]] std::string Correct(std::string_view value) const { return Write(place, value); }
};

bool IsOneOf(const std::string& text, std::initializer_list<const char*> words) {
  return std::any_of(words.begin(), words.end(),
                     [&](const char* word) { return strcasecmp(word, text.c_str()) == 0; });
}

// True when all of the text is a decimal number, with blanks around it at most.
bool IsNumber(std::string_view text) {
  text = WithoutBlanks(text);
  if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool FitsInt(const std::string& text) {
  errno = 0;
  const long number = ToLong(text.c_str());
  return errno == 0 && number == ToInt(text.c_str());
}

std::string FlagAdvice(const Value& value) {
  const std::string word(WithoutBlanks(value.text));
  if (IsOneOf(word, {"true", "yes", "on", "y", "include", "enabled"})) return value.Correct("1");
  if (IsOneOf(word, {"false", "no", "off", "n", "exclude", "disabled"})) return value.Correct("0");
  return value.Correct("1") + " or " + value.Correct("0");
}

std::string NotANumber(const Value& value, int countsAs) {
  const bool empty = WithoutBlanks(value.text).empty();
  return value.Quoted() + (empty ? " is empty" : " is no number") + " and counts as " +
         to_string(countsAs) + "; write ";
}

std::optional<Finding> CheckFlag(const Value& value) {
  const bool on = ToFlag(value.text.c_str());
  if (!IsNumber(value.text)) return Error(NotANumber(value, on ? 1 : 0) + FlagAdvice(value));
  const bool plain = FitsInt(value.text) && ToInt(value.text.c_str()) == (on ? 1 : 0);
  if (plain) return {};
  return Warning(value.Quoted() + " counts as 1; write " + value.Correct("1"));
}

std::string RangeAdvice(const Value& value) {
  const ValueRule& rule = value.rule;
  if (rule.kind == ValueKind::kCode || rule.kind == ValueKind::kCondition) return rule.example;
  if (rule.kind == ValueKind::kUnused) return value.Correct("0");
  return "a number from " + to_string(rule.least) + " to " + to_string(rule.most);
}

// What is wrong with any number, whatever it stands for.
std::optional<Finding> CheckDigits(const Value& value) {
  const int countsAs = ToInt(value.text.c_str());
  if (!IsNumber(value.text)) {
    const bool inRange =
        countsAs > 0 && countsAs >= value.rule.least && countsAs <= value.rule.most;
    const bool code = value.rule.kind != ValueKind::kNumber;
    if (!inRange && code) return Error(NotANumber(value, countsAs) + RangeAdvice(value));
    return Error(NotANumber(value, countsAs) +
                 value.Correct(inRange ? to_string(countsAs) : value.rule.example));
  }
  if (FitsInt(value.text)) return {};
  return Error(value.Quoted() + " does not fit in 32 bits and counts as " + to_string(countsAs) +
               "; write " + RangeAdvice(value));
}

std::optional<Finding> CheckNumber(const Value& value) {
  const ValueRule& rule = value.rule;
  if (auto finding = CheckDigits(value)) {
    if (rule.kind == ValueKind::kUnused) finding->severity = Severity::kWarning;
    return finding;
  }
  const int number = ToInt(value.text.c_str());
  const std::string advice = "; write " + RangeAdvice(value);
  switch (rule.kind) {
    case ValueKind::kUnused:
      if (number == 0) return {};
      return Warning(value.Quoted() + " is not looked at" + advice);
    case ValueKind::kCondition:
      if (number <= 0) return {};
      [[fallthrough]];
    case ValueKind::kCode:
      if (number >= rule.least && number <= rule.most) return {};
      return Error(value.Quoted() + " is not known here and is ignored" + advice);
    default:
      if (number < rule.least) {
        return Error(value.Quoted() + " is less than " + to_string(rule.least) + advice);
      }
      if (number <= rule.most) return {};
      return Error(value.Quoted() + " is more than " + to_string(rule.most) + advice);
  }
}

std::optional<Finding> CheckText(const Value& value) {
  const ValueRule& rule = value.rule;
  if (value.text.size() > rule.longest) {
    return Error(value.Quoted() + " has " + to_string(value.text.size()) +
                 " bytes and is cut; write at most " + to_string(rule.longest));
  }
  const std::string_view trimmed = WithoutBlanks(value.text);
  if (trimmed.size() != value.text.size()) {
    return Error(value.Quoted() + " has blanks at its ends, which belong to it; write " +
                 value.Correct(trimmed.empty() ? rule.example : trimmed));
  }
  return {};
}

std::optional<Finding> CheckHost(const Value& value) {
  if (auto finding = CheckText(value)) return finding;
  if (value.text.empty()) {
    return Error(value.Quoted() + " is empty; write " + value.Correct(value.rule.example));
  }
  if (value.text.find("://") == std::string::npos) return {};
  return Error(value.Quoted() + " is a URL; write the host alone, such as " +
               value.Correct(value.rule.example));
}

std::optional<Finding> CheckShareVersion(const Value& value) {
  constexpr std::string_view kPrefix = "vers=";
  if (auto finding = CheckText(value)) return finding;
  if (value.text.empty()) {
    return Error(value.Quoted() + " is empty; write " + value.Correct(value.rule.example));
  }
  if (!value.text.starts_with(kPrefix)) return {};
  return Error(value.Quoted() + " gives " + Quote("vers=" + value.text) + "; write " +
               value.Correct(value.text.substr(kPrefix.size())));
}

std::optional<Finding> CheckSecret(const Value& value) {
  const std::string name(value.place.element);
  if (value.text.size() > value.rule.longest) {
    return Error(name + " has " + to_string(value.text.size()) +
                 " bytes and is cut; write at most " + to_string(value.rule.longest));
  }
  if (WithoutBlanks(value.text).size() == value.text.size()) return {};
  return Warning(name + " has blanks or ends of lines at its ends, which belong to it; " +
                 "write the value right between the tags");
}

}  // namespace

std::optional<Finding> CheckValue(const ValuePlace& place, const ValueRule& rule,
                                  const std::string& text) {
  const Value value{place, rule, text};
  switch (rule.kind) {
    case ValueKind::kUnchecked:
      return {};
    case ValueKind::kFlag:
      return CheckFlag(value);
    case ValueKind::kNumber:
    case ValueKind::kCode:
    case ValueKind::kCondition:
    case ValueKind::kUnused:
      return CheckNumber(value);
    case ValueKind::kText:
      return CheckText(value);
    case ValueKind::kHost:
      return CheckHost(value);
    case ValueKind::kShareVersion:
      return CheckShareVersion(value);
    case ValueKind::kSecret:
      return CheckSecret(value);
  }
  return {};
}

const char* MissingValue(const ValueRule& rule) {
  switch (rule.kind) {
    case ValueKind::kFlag:
    case ValueKind::kNumber:
    case ValueKind::kCode:
    case ValueKind::kCondition:
    case ValueKind::kUnused:
      return "counts as 0";
    default:
      return "counts as empty";
  }
}

}  // namespace wkagent
