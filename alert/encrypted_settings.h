#ifndef WKAGENT_ALERT_ENCRYPTED_SETTINGS_H
#define WKAGENT_ALERT_ENCRYPTED_SETTINGS_H

#include <functional>

#include <libxml/tree.h>

#include <wkagent/core.h>

namespace wkagent {

// The plain twin of an encrypted settings file: made by the constructor with the workspace's key,
// readable for its owner alone, and gone when the object ends, however that comes about.
class DecryptedSettings {
 public:
  // `owner` logs what the daemon settings, which hold the key, have to say.
  DecryptedSettings(WKLogStatus& owner, const char* encrypted, const char* plain);
  ~DecryptedSettings();

  DecryptedSettings(const DecryptedSettings&) = delete;
  DecryptedSettings& operator=(const DecryptedSettings&) = delete;

 private:
  // The file goes from here on, also where the other constructor fails.
  explicit DecryptedSettings(const char* plain) : plain_(plain) {}

  const char* const plain_;
};

// Hands the root of an XML file to `visit`; where it cannot be read, logs "Cannot read SMTP
// Settings" to `owner`. The parser's own messages are not printed: they could quote the settings.
void ReadSettings(WKAlert& owner, const char* path, const std::function<void(xmlNode*)>& visit);

}  // namespace wkagent

#endif  // WKAGENT_ALERT_ENCRYPTED_SETTINGS_H
