#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <wkagent/crypto.h>

#include "core/handles.h"
#include "crypto/secret_bytes.h"
#include "crypto/settings_text.h"

// Without streams: their buffers could not be wiped.

namespace {

using wkagent::Fd;
using wkagent::SecretBytes;
using wkagent::View;

constexpr mode_t kForAll = 0666;  // as the process's umask leaves it
constexpr mode_t kForOwner = 0600;

// The bytes of a file up to where it ended when it was opened; none where it cannot be read.
std::optional<SecretBytes> ReadFile(const char* path) {
  const Fd file(open(path, O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (fstat(file.Get(), &status) != 0 || S_ISDIR(status.st_mode)) return std::nullopt;
  const off_t end = lseek(file.Get(), 0, SEEK_END);
  if (end < 0) return std::nullopt;
  SecretBytes bytes(static_cast<std::size_t>(end));
  std::size_t at = 0;
  while (at < bytes.size()) {
    const ssize_t length =
        pread(file.Get(), bytes.data() + at, bytes.size() - at, static_cast<off_t>(at));
    if (length < 0) return std::nullopt;
    if (length == 0) break;
    at += static_cast<std::size_t>(length);
  }
  bytes.resize(at);
  return bytes;
}

// Writes what can be written: the callers have no way to tell of a failure.
void WriteFile(const char* path, mode_t mode, std::string_view bytes) {
  const Fd file(open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode));
  while (!bytes.empty()) {
    const ssize_t length = write(file.Get(), bytes.data(), bytes.size());
    if (length <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(length));
  }
}

}  // namespace

void CRijndael::WKEncryptFile(char* plainPath, char* encryptedPath, char* keyText) {
  if (plainPath == nullptr || encryptedPath == nullptr || keyText == nullptr) return;
  wkagent::UseSettingsKey(*this, keyText);
  const std::optional<SecretBytes> text = ReadFile(plainPath);
  if (!text) throw std::string(plainPath) + " - XML File is Empty or File does not exists";
  WriteFile(encryptedPath, kForAll, wkagent::EncryptText(*this, View(*text)));
}

void CRijndael::WKDecryptFile(char* encryptedPath, char* plainPath, char* keyText) {
  if (encryptedPath == nullptr || plainPath == nullptr || keyText == nullptr) return;
  wkagent::UseSettingsKey(*this, keyText);
  const SecretBytes encrypted = ReadFile(encryptedPath).value_or(SecretBytes());
  WriteFile(plainPath, kForOwner, View(wkagent::DecryptText(*this, View(encrypted))));
}
