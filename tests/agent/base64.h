#ifndef WKAGENT_TESTS_AGENT_BASE64_H
#define WKAGENT_TESTS_AGENT_BASE64_H

// Base64 by the C library's resolver.

#include <optional>
#include <string>

#include <netinet/in.h>
#include <resolv.h>

namespace wkagent::test {

inline std::string Base64(const std::string& bytes) {
  std::string text(bytes.size() * 2 + 8, '\0');
  const int length = b64_ntop(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(),
                              text.data(), text.size());
  text.resize(static_cast<std::size_t>(length));
  return text;
}

// Nothing where the text is no base64. It may hold blanks.
inline std::optional<std::string> FromBase64(const std::string& text) {
  std::string bytes(text.size() + 1, '\0');
  const int length =
      b64_pton(text.c_str(), reinterpret_cast<unsigned char*>(bytes.data()), bytes.size());
  if (length < 0) return {};
  bytes.resize(static_cast<std::size_t>(length));
  return bytes;
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_AGENT_BASE64_H
