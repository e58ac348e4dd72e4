#include "agent/secret_attributes.h"

#include <algorithm>
#include <cctype>

#include "agent/ascii_case.h"
#include "agent/name_filter.h"

namespace wkagent {
namespace {

// Beside these, every attribute whose name contains "password".
constexpr std::string_view kSecretAttributes[] = {"2.5.4.35",          "olcRootPW",
                                                  "olcDbPass",         "olcDbACLPasswd",
                                                  "olcDbCryptKey",     "olcDbIDAssertPasswd",
                                                  "pwdHistory",        "olcTLSCertificateKey",
                                                  "unicodePwd",        "dBCSPwd",
                                                  "lmPwdHistory",      "ntPwdHistory",
                                                  "trustAuthIncoming", "supplementalCredentials",
                                                  "trustAuthOutgoing", "oathSecret",
                                                  "krbPrincipalKey",   "krbMKey",
                                                  "ipaNTHash",         "dhcpKeySecret",
                                                  "userPKCS12",        "sambaLMHash",
                                                  "sambaNTHash"};

constexpr NameFilter FilterOfSecretAttributes() {
  NameFilter filter;
  for (const std::string_view name : kSecretAttributes) filter.Add(name);
  return filter;
}

constexpr NameFilter kFilter = FilterOfSecretAttributes();

// What a password follows in a setting of the directory server.
constexpr std::string_view kSecretKeys[] = {"credentials=", "bindpw="};

bool StartsWithIgnoringCase(std::string_view text, std::string_view start) {
  return SameIgnoringCase(text.substr(0, start.size()), start);
}

std::size_t FindIgnoringCase(std::string_view text, std::string_view part, std::size_t from) {
  for (std::size_t i = from; i + part.size() <= text.size(); ++i) {
    if (StartsWithIgnoringCase(text.substr(i), part)) return i;
  }
  return std::string_view::npos;
}

// The length of the key that `text` begins with, 0 where it begins with none.
std::size_t SecretKeySize(std::string_view text) {
  for (const std::string_view key : kSecretKeys) {
    if (StartsWithIgnoringCase(text, key)) return key.size();
  }
  return 0;
}

}  // namespace

std::string_view BaseName(std::string_view attribute) {
  return attribute.substr(0, attribute.find(';'));
}

bool IsSecretAttribute(std::string_view attribute) {
  const std::string_view name = BaseName(attribute);
  const auto isName = [&](std::string_view secret) { return SameIgnoringCase(name, secret); };
  if (kFilter.MayBeName(name) &&
      std::any_of(std::begin(kSecretAttributes), std::end(kSecretAttributes), isName)) {
    return true;
  }
  return FindIgnoringCase(name, "password", 0) != std::string_view::npos;
}

bool MayHoldCredentials(std::string_view attribute) {
  return StartsWithIgnoringCase(attribute, "olc");
}

// The server reads a setting as words between blanks: a backslash escapes the next character, and
// within double quotes, which may begin and end anywhere, a blank is part of the word.
std::string WithoutCredentials(std::string_view attribute, std::string_view value) {
  if (!MayHoldCredentials(attribute)) return std::string(value);
  std::string shown;
  bool quoted = false;
  bool hidden = false;
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (const std::size_t key = hidden ? 0 : SecretKeySize(value.substr(i)); key > 0) {
      shown.append(value, i, key).append("***");
      hidden = true;
      i += key - 1;
      continue;
    }
    const bool blank = std::isspace(static_cast<unsigned char>(value[i])) != 0;
    if (blank && !quoted) hidden = false;
    if (value[i] == '"') quoted = !quoted;
    const std::size_t size = value[i] == '\\' ? 2 : 1;
    if (!hidden) shown.append(value, i, size);
    i += size - 1;
  }
  return shown;
}

}  // namespace wkagent
