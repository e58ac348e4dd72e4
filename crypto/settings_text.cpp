// The format of encrypted settings files; docs/formats/encrypted_file.md describes it.
//
// The text and its end marker are cut into pieces, each enciphered by itself as one unit: pieces of
// 255 characters with a zero byte behind them, and a last one, padded with zero bytes. The last
// unit's size is reckoned as if the pieces had 256 characters, so it falls short by one for each
// piece before it. What it cannot take is lost, and stays so: others read and write these files.

#include "crypto/settings_text.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace wkagent {
namespace {

constexpr char kEndMarker = ';';
constexpr std::size_t kUnit = 256;
constexpr std::size_t kPiece = kUnit - 1;
constexpr std::size_t kStep = 32;  // in which the last unit grows
constexpr int kKeySize = 16;
constexpr int kBlockSize = 16;
constexpr std::size_t kKeyTextRoom = 37;  // of a GUID and its terminator

std::string_view UpToZero(std::string_view text) { return text.substr(0, text.find('\0')); }

// The size of the last unit of a text of this size.
std::size_t LastUnit(std::size_t size) { return size % kUnit / kStep * kStep + kStep; }

SecretBytes WithEndMarker(std::string_view text) {
  SecretBytes marked;
  marked.reserve(text.size() + 1);
  marked.assign(text.begin(), text.end());
  marked.push_back(kEndMarker);
  return marked;
}

}  // namespace

void UseSettingsKey(CRijndael& cipher, const char* text) {
  SecretBytes key(kKeyTextRoom);
  const std::size_t length = text == nullptr ? 0 : strnlen(text, kKeyTextRoom - 1);
  std::transform(text, text + length, key.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
  cipher.MakeKey(key.data(), CRijndael::sm_chain0, kKeySize, kBlockSize);
}

std::string EncryptText(CRijndael& cipher, std::string_view text) {
  const SecretBytes whole = WithEndMarker(text);
  std::string_view left = UpToZero(View(whole));
  std::string encrypted(text.size() / kUnit * kUnit + LastUnit(text.size()), '\0');
  for (std::size_t at = 0; at < encrypted.size(); at += kUnit) {
    const std::size_t size = std::min(kUnit, encrypted.size() - at);
    const bool isLast = at + size == encrypted.size();
    const std::string_view piece = left.substr(0, isLast ? size : kPiece);
    left.remove_prefix(piece.size());
    SecretBytes unit(size);
    std::copy(piece.begin(), piece.end(), unit.begin());
    cipher.Encrypt(unit.data(), &encrypted[at], size, CRijndael::kEcb);
  }
  return encrypted;
}

SecretBytes DecryptText(CRijndael& cipher, std::string_view encrypted) {
  SecretBytes text;
  if (encrypted.empty()) return text;
  text.reserve(encrypted.size() + kUnit);
  // A last unit that is not full, or none behind a full one, is decrypted as if zero bytes followed
  // it. What comes of those is cut off, unless the end marker was lost.
  for (std::size_t at = 0; at <= encrypted.size(); at += kUnit) {
    SecretBytes unit(kUnit);
    encrypted.copy(unit.data(), kUnit, at);
    cipher.Decrypt(unit.data(), unit.data(), kUnit, CRijndael::kEcb);
    const std::string_view piece = UpToZero(View(unit));
    text.insert(text.end(), piece.begin(), piece.end());
  }
  const std::size_t marker = View(text).find(kEndMarker);
  const std::size_t end = marker != std::string_view::npos ? marker : encrypted.size() - 1;
  text.resize(std::min(text.size(), end));
  return text;
}

}  // namespace wkagent

std::string CRijndael::EncryptSettings(std::string_view text, const char* keyText) {
  wkagent::UseSettingsKey(*this, keyText);
  return wkagent::EncryptText(*this, text);
}

std::string CRijndael::DecryptSettings(std::string_view encrypted, const char* keyText) {
  wkagent::UseSettingsKey(*this, keyText);
  return std::string(wkagent::View(wkagent::DecryptText(*this, encrypted)));
}

std::size_t CRijndael::EncryptionLoses(std::size_t size) {
  const std::size_t room = size / wkagent::kUnit * wkagent::kPiece + wkagent::LastUnit(size);
  return size + 1 > room ? size + 1 - room : 0;
}
