#include "crypto/settings_model.h"

#include <cctype>

#include <wkagent/crypto.h>

#include "crypto/reference_ciphers.h"

namespace wkagent::test {
namespace {

std::string Aes(Way way, const std::string& text, const std::string& keyText) {
  std::string key = keyText.substr(0, 16);
  for (char& letter : key) {
    letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  }
  key.resize(16);
  return ByOpenssl(way, CRijndael::kEcb, key, std::string(16, '\0'), text);
}

// The unit at an offset, up to its first zero.
std::string UnitText(const std::string& units, std::size_t offset) {
  const std::string unit = units.substr(offset, 256);
  return unit.substr(0, unit.find('\0'));
}

}  // namespace

std::string ModelEncrypt(const std::string& plain, const std::string& keyText) {
  const std::string marked = plain + ";";
  const std::string text = marked.c_str();
  const std::size_t count = plain.size() / 256;
  const std::size_t rest = plain.size() % 256;
  const std::size_t last = rest - rest % 32 + 32;
  std::string units;
  for (std::size_t i = 0; i <= count; ++i) {
    const bool isLast = i == count;
    std::string piece;
    if (255 * i < text.size()) piece = text.substr(255 * i, isLast ? last : 255);
    piece.resize(isLast ? last : 256);
    units += piece;
  }
  return Aes(Way::kEncrypt, units, keyText);
}

std::string ModelDecrypt(const std::string& encrypted, const std::string& keyText) {
  if (encrypted.empty()) return "";
  std::string padded = encrypted;
  padded.resize((encrypted.size() / 256 + 1) * 256);
  const std::string units = Aes(Way::kDecrypt, padded, keyText);
  std::string text;
  for (std::size_t offset = 0; offset < units.size(); offset += 256) {
    text += UnitText(units, offset);
  }
  const std::size_t end = text.find(';');
  return text.substr(0, end == text.npos ? encrypted.size() - 1 : end);
}

std::size_t HeldCharacters(const std::string& encrypted, const std::string& keyText) {
  const std::string units = Aes(Way::kDecrypt, encrypted, keyText);
  std::size_t held = 0;
  for (std::size_t offset = 0; offset < units.size(); offset += 256) {
    held += UnitText(units, offset).size();
  }
  return held;
}

std::string RandomText(std::mt19937& random, std::size_t size) {
  std::string text;
  while (text.size() < size) {
    const char letter = static_cast<char>(random());
    if (letter != ';' && letter != '\0') text.push_back(letter);
  }
  return text;
}

}  // namespace wkagent::test
