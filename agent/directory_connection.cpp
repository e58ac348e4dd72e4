#include "agent/directory_connection.h"

#include <array>
#include <chrono>
#include <cstring>
#include <string_view>
#include <thread>

#include <unistd.h>

#include "agent/handshake_limit.h"
#include "core/bounded_copy.h"

namespace wkagent {
namespace {

constexpr int kDefaultPort = 389;
constexpr char kSystemCertificates[] = "/etc/ssl/certs/ca-certificates.crt";

// Options of libldap take pointers to what they set.
template <typename Value>
bool Set(LDAP* ldap, int option, const Value& value) {
  return ldap_set_option(ldap, option, &value) == LDAP_OPT_SUCCESS;
}

[[nodiscard]] bool SetOptions(LDAP* ldap) {
  const timeval answer = {kSecondsToAnswer, 0};
  constexpr int kIdleSeconds = 60;
  constexpr int kProbes = 3;
  return LimitHandshake(ldap) && Set(ldap, LDAP_OPT_PROTOCOL_VERSION, int{LDAP_VERSION3}) &&
         Set(ldap, LDAP_OPT_NETWORK_TIMEOUT, answer) && Set(ldap, LDAP_OPT_TIMEOUT, answer) &&
         ldap_set_option(ldap, LDAP_OPT_REFERRALS, LDAP_OPT_OFF) == LDAP_OPT_SUCCESS &&
         // A server that vanished without a word is noticed within four minutes.
         Set(ldap, LDAP_OPT_X_KEEPALIVE_IDLE, kIdleSeconds) &&
         Set(ldap, LDAP_OPT_X_KEEPALIVE_INTERVAL, kIdleSeconds) &&
         Set(ldap, LDAP_OPT_X_KEEPALIVE_PROBES, kProbes) &&
         Set(ldap, LDAP_OPT_X_TLS_REQUIRE_CERT, int{LDAP_OPT_X_TLS_DEMAND});
}

// Where a machine has no certificates, only servers without TLS can be read: the first step of TLS
// will fail.
[[nodiscard]] bool SetCertificates(LDAP* ldap, const std::string& caFile) {
  const char* const file = caFile.empty() ? kSystemCertificates : caFile.c_str();
  if (caFile.empty() && access(file, F_OK) != 0) return true;
  return ldap_set_option(ldap, LDAP_OPT_X_TLS_CACERTFILE, file) == LDAP_OPT_SUCCESS &&
         Set(ldap, LDAP_OPT_X_TLS_NEWCTX, int{0});
}

// Asks the root DSE. Returns an LDAP result code.
int AskForStartTls(LDAP* ldap, bool& offered) {
  char attribute[] = "supportedExtension";
  std::array<char*, 2> attributes = {attribute, nullptr};
  LDAPMessage* message = nullptr;
  const int code = ldap_search_ext_s(ldap, "", LDAP_SCOPE_BASE, "(objectClass=*)",
                                     attributes.data(), 0, nullptr, nullptr, nullptr, 1, &message);
  const LdapMessagePtr answer(message);
  if (code != LDAP_SUCCESS || answer == nullptr) return code;
  LDAPMessage* const entry = ldap_first_entry(ldap, answer.get());
  if (entry == nullptr) return code;
  const BerValuesPtr values(ldap_get_values_len(ldap, entry, attribute));
  for (berval** value = values.get(); value != nullptr && *value != nullptr; ++value) {
    if (std::string_view((*value)->bv_val, (*value)->bv_len) == LDAP_EXOP_START_TLS) offered = true;
  }
  return code;
}

int Bind(LDAP* ldap, const tagLDAPConfig& config) {
  char user[sizeof(config.UserName) + 1];
  char password[sizeof(config.Password) + 1];
  CopyField(user, config.UserName);
  CopyField(password, config.Password);
  berval credentials = {std::strlen(password), password};
  const int code =
      ldap_sasl_bind_s(ldap, user, LDAP_SASL_SIMPLE, &credentials, nullptr, nullptr, nullptr);
  explicit_bzero(password, sizeof(password));
  return code;
}

// A server that has just answered may take that request for outstanding for a moment, and refuses.
int StartTls(LDAP* ldap) {
  constexpr int kTries = 10;
  int code = LDAP_OPERATIONS_ERROR;
  for (int i = 0; i < kTries && code == LDAP_OPERATIONS_ERROR; ++i) {
    if (i > 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    code = ldap_start_tls_s(ldap, nullptr, nullptr);
  }
  return code;
}

std::int64_t PortOf(const tagLDAPConfig& config) {
  return config.PortNumber == 0 ? kDefaultPort : config.PortNumber;
}

}  // namespace

std::string ServerName(const tagLDAPConfig& config) {
  const std::string host(BoundedView(config.Server));
  const bool address6 = host.find(':') != std::string::npos && !host.starts_with('[');
  return (address6 ? "[" + host + "]" : host) + ":" + std::to_string(PortOf(config));
}

void WipePassword(tagLDAPConfig& config) {
  explicit_bzero(config.Password, sizeof(config.Password));
}

std::string DescribeLdapError(LDAP* ldap, int code) {
  std::string text = ldap_err2string(code);
  char* more = nullptr;
  ldap_get_option(ldap, LDAP_OPT_DIAGNOSTIC_MESSAGE, &more);
  const LdapText detail(more);
  if (detail != nullptr && *detail != '\0') text += std::string(" (") + detail.get() + ")";
  return text;
}

LdapPtr ConnectDirectory(const tagLDAPConfig& config, const std::string& caFile, bool& encrypted,
                         std::string& error) {
  const std::string url =
      (config.SecureConnection ? "ldaps://" : "ldap://") + ServerName(config) + "/";
  LDAP* handle = nullptr;
  if (const int code = ldap_initialize(&handle, url.c_str()); code != LDAP_SUCCESS) {
    error = url + ": " + ldap_err2string(code);
    return nullptr;
  }
  LdapPtr ldap(handle);
  if (!SetOptions(ldap.get())) {
    error = "the options of the connection cannot be set";
    return nullptr;
  }
  if (!SetCertificates(ldap.get(), caFile)) {
    error =
        (caFile.empty() ? kSystemCertificates : caFile) + ": no certificates can be read from it";
    return nullptr;
  }
  encrypted = config.SecureConnection;
  const auto fail = [&](const char* step, int code) {
    error = std::string(step) + ": " + DescribeLdapError(ldap.get(), code);
    return nullptr;
  };
  if (!encrypted) {
    if (const int code = AskForStartTls(ldap.get(), encrypted); code != LDAP_SUCCESS) {
      return fail("connecting", code);
    }
    const int code = encrypted ? StartTls(ldap.get()) : LDAP_SUCCESS;
    if (code != LDAP_SUCCESS) return fail("STARTTLS", code);
  }
  if (const int code = Bind(ldap.get(), config); code != LDAP_SUCCESS) return fail("binding", code);
  LiftHandshakeLimit(ldap.get());
  return ldap;
}

}  // namespace wkagent
