#include "alert/encrypted_settings.h"

#include <cstdio>
#include <exception>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <wkagent/config.h>
#include <wkagent/crypto.h>

#include "config/xml_library.h"
#include "core/bounded_copy.h"
#include "core/handles.h"

namespace wkagent {
namespace {

constexpr mode_t kMode = 0600;

}  // namespace

DecryptedSettings::DecryptedSettings(WKLogStatus& owner, const char* encrypted, const char* plain)
    : DecryptedSettings(plain) {
  WKDaemonSettings daemon;
  if (owner.logCallback != nullptr) daemon.InitializeLogMessage(owner.logCallback);
  daemon.Read();
  ::unlink(plain_);  // whoever made it may still have it open
  const Fd file(::open(plain_, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kMode));
  if (!file.IsOpen()) return;  // reading it will fail, which is reported
  CRijndael cipher;
  cipher.WKDecryptFile(const_cast<char*>(encrypted), const_cast<char*>(plain_),
                       daemon.GetWorkspaceGuid());
}

DecryptedSettings::~DecryptedSettings() { std::remove(plain_); }

void ReadSettings(WKAlert& owner, const char* path, const std::function<void(xmlNode*)>& visit) {
  const XmlDoc document =
      ReadXmlFile(path, XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET);
  if (document == nullptr) {
    CopyBounded(owner.statusText, "Cannot read SMTP Settings");
    owner.LogStatus(owner.statusText);
    return;
  }
  visit(xmlDocGetRootElement(document.get()));
}

}  // namespace wkagent
