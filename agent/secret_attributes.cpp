#include "agent/secret_attributes.h"

#include <algorithm>
#include <cctype>

#include <strings.h>

namespace wkagent {
namespace {

// Beside these, every attribute whose name contains "password".
constexpr std::string_view kSecretAttributes[] = {
    "2.5.4.35",   "olcRootPW",       "olcDbPass",  "pwdHistory", "unicodePwd",
    "oathSecret", "krbPrincipalKey", "krbMKey",    "ipaNTHash",  "dhcpKeySecret",
    "userPKCS12", "sambaLMHash",     "sambaNTHash"};

bool StartsWithIgnoringCase(std::string_view text, std::string_view start) {
  return text.size() >= start.size() && strncasecmp(text.data(), start.data(), start.size()) == 0;
}

std::size_t FindIgnoringCase(std::string_view text, std::string_view part, std::size_t from) {
  for (std::size_t i = from; i + part.size() <= text.size(); ++i) {
    if (StartsWithIgnoringCase(text.substr(i), part)) return i;
  }
  return std::string_view::npos;
}

// Where a word that begins at `start` ends: at its closing quote or before the next blank.
std::size_t EndOfWord(std::string_view text, std::size_t start) {
  std::size_t end = start;
  if (start < text.size() && (text[start] == '"' || text[start] == '\'')) {
    end = text.find(text[start], start + 1);
  } else {
    end = text.find(' ', start);
  }
  return end == std::string_view::npos ? text.size() : end;
}

}  // namespace

std::string_view BaseName(std::string_view attribute) {
  return attribute.substr(0, attribute.find(';'));
}

bool IsSecretAttribute(std::string_view attribute) {
  const std::string_view name = BaseName(attribute);
  const auto isName = [&](std::string_view secret) {
    return name.size() == secret.size() && StartsWithIgnoringCase(name, secret);
  };
  return std::any_of(std::begin(kSecretAttributes), std::end(kSecretAttributes), isName) ||
         FindIgnoringCase(name, "password", 0) != std::string_view::npos;
}

std::string WithoutCredentials(std::string_view attribute, std::string_view value) {
  std::string text(value);
  if (!StartsWithIgnoringCase(attribute, "olc")) return text;
  constexpr std::string_view kKey = "credentials=";
  std::size_t found = 0;
  while ((found = FindIgnoringCase(text, kKey, found)) != std::string::npos) {
    const std::size_t start = found + kKey.size();
    text.replace(start, EndOfWord(text, start) - start, "***");
    found = start;
  }
  return text;
}

}  // namespace wkagent
