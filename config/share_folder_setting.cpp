#include <cstdio>
#include <cstring>

#include <wkagent/config.h>

#include "core/bounded_copy.h"
#include "core/printed_text.h"

namespace {

// Splits "DOMAIN\name"; without a backslash the domain stays.
void SetAccount(const char* text, wkagent::OwnedString& domain, wkagent::OwnedString& user) {
  if (text == nullptr) return;
  char account[300];
  wkagent::CopyBounded(account, text);
  char* const backslash = std::strchr(account, '\\');
  if (backslash == nullptr) return user.Assign(account);
  *backslash = '\0';
  domain.Assign(account);
  user.Assign(backslash + 1);
}

void Wipe(wkagent::OwnedString& secret) {
  if (secret != nullptr) explicit_bzero(secret, std::strlen(secret));
}

void ReplaceSecret(wkagent::OwnedString& secret, const char* text) {
  wkagent::OwnedString copy;
  copy.Assign(text);  // before the wipe: it may be the object's own text
  Wipe(secret);
  secret = std::move(copy);
}

}  // namespace

WKShareFolderSetting::WKShareFolderSetting() : machineIpAddress{}, primaryFlag(false) {}

WKShareFolderSetting::~WKShareFolderSetting() {
  Wipe(primaryUserPassword);
  Wipe(secondaryUserPassword);
}

void WKShareFolderSetting::SetMachineName(char* text) { machineName.Assign(text); }
void WKShareFolderSetting::SetMachineIPAddress(char* text) {
  wkagent::CopyBounded(machineIpAddress, text);
}
void WKShareFolderSetting::SetPrimaryUser(char* text) {
  SetAccount(text, primaryDomain, primaryUser);
}
void WKShareFolderSetting::SetPrimaryUserPassword(char* text) {
  ReplaceSecret(primaryUserPassword, text);
}
void WKShareFolderSetting::SetPrimaryDomain(char* text) {
  if (text != nullptr && text[0] != '\0') primaryDomain.Assign(text);
}
void WKShareFolderSetting::SetSecondaryUser(char* text) {
  SetAccount(text, secondaryDomain, secondaryUser);
}
void WKShareFolderSetting::SetSecondaryUserPassword(char* text) {
  ReplaceSecret(secondaryUserPassword, text);
}
void WKShareFolderSetting::SetSecondaryDomain(char* text) { secondaryDomain.Assign(text); }
void WKShareFolderSetting::SetPrimaryFlag(bool on) { primaryFlag = on; }
void WKShareFolderSetting::SetShareFolderPath(char* text) { shareFolderPath.Assign(text); }

char* WKShareFolderSetting::GetMachineName() { return machineName; }
char* WKShareFolderSetting::GetMachineIpAddress() { return machineIpAddress; }
char* WKShareFolderSetting::GetPrimaryUser() { return primaryUser; }
char* WKShareFolderSetting::GetPrimaryDomain() { return primaryDomain; }
char* WKShareFolderSetting::GetPrimaryUserPassword() { return primaryUserPassword; }
char* WKShareFolderSetting::GetSecondaryDomain() { return secondaryDomain; }
char* WKShareFolderSetting::GetSecondaryUser() { return secondaryUser; }
char* WKShareFolderSetting::GetSecondaryUserPassword() { return secondaryUserPassword; }
bool WKShareFolderSetting::IsPrimaryServer() { return primaryFlag; }
char* WKShareFolderSetting::GetShareFolderPath() { return shareFolderPath; }

void WKShareFolderSetting::Print() {
  using wkagent::TextOrEmpty;
  std::printf("Share Folder Setting:\nMN: %s, PU: %s, PUS: %s, SU: %s, SUP: %s, SFP: %s, PS: %d\n",
              TextOrEmpty(machineName), TextOrEmpty(primaryUser), TextOrEmpty(primaryUserPassword),
              TextOrEmpty(secondaryUser), TextOrEmpty(secondaryUserPassword),
              TextOrEmpty(shareFolderPath), primaryFlag);
}
