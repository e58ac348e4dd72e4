#include "integration/ldap_client.h"

#include <array>
#include <deque>
#include <stdexcept>
#include <vector>

namespace wkagent::test {
namespace {

LdapPtr Open(const std::string& url) {
  LDAP* ldap = nullptr;
  if (ldap_initialize(&ldap, url.c_str()) != LDAP_SUCCESS) throw std::runtime_error(url);
  const int version = LDAP_VERSION3;
  ldap_set_option(ldap, LDAP_OPT_PROTOCOL_VERSION, &version);
  return LdapPtr(ldap);
}

// One change of one attribute with one value.
struct Change {
  Change(int operation, const char* attribute, const std::string& value)
      : name(attribute), text(value) {
    mod.mod_op = operation;
    mod.mod_type = name.data();
    mod.mod_values = values.data();
  }
  Change(const Change&) = delete;

  std::string name;
  std::string text;
  std::array<char*, 2> values = {text.data(), nullptr};
  LDAPMod mod{};
};

}  // namespace

LdapClient::LdapClient(std::string url, std::string user, std::string password)
    : url_(std::move(url)), user_(std::move(user)), password_(std::move(password)) {
  // libldap sets itself up at its first use, which must not happen in several threads at once.
  int version = 0;
  ldap_get_option(nullptr, LDAP_OPT_PROTOCOL_VERSION, &version);
}

int LdapClient::Bind(LDAP* ldap, const std::string& name, const std::string& password) {
  berval credentials = {password.size(), const_cast<char*>(password.c_str())};
  return ldap_sasl_bind_s(ldap, name.c_str(), LDAP_SASL_SIMPLE, &credentials, nullptr, nullptr,
                          nullptr);
}

int LdapClient::Connect() {
  if (ldap_ != nullptr) return LDAP_SUCCESS;
  ldap_ = Open(url_);
  const int code = Bind(ldap_.get(), user_, password_);
  if (code != LDAP_SUCCESS) ldap_.reset();
  return code;
}

int LdapClient::Done(int code) {
  if (code == LDAP_SERVER_DOWN || code == LDAP_UNAVAILABLE) ldap_.reset();
  return code;
}

int LdapClient::Add(const std::string& name,
                    std::initializer_list<std::pair<const char*, std::string>> attributes) {
  if (const int code = Connect(); code != LDAP_SUCCESS) return code;
  std::deque<Change> changes;
  std::vector<LDAPMod*> mods;
  for (const auto& [attribute, value] : attributes) {
    mods.push_back(&changes.emplace_back(LDAP_MOD_ADD, attribute, value).mod);
  }
  mods.push_back(nullptr);
  return Done(ldap_add_ext_s(ldap_.get(), name.c_str(), mods.data(), nullptr, nullptr));
}

int LdapClient::AddValue(const std::string& name, const char* attribute, const std::string& value) {
  if (const int code = Connect(); code != LDAP_SUCCESS) return code;
  Change change(LDAP_MOD_ADD, attribute, value);
  std::array<LDAPMod*, 2> mods = {&change.mod, nullptr};
  return Done(ldap_modify_ext_s(ldap_.get(), name.c_str(), mods.data(), nullptr, nullptr));
}

int LdapClient::Rename(const std::string& name, const std::string& newRdn) {
  if (const int code = Connect(); code != LDAP_SUCCESS) return code;
  return Done(
      ldap_rename_s(ldap_.get(), name.c_str(), newRdn.c_str(), nullptr, 1, nullptr, nullptr));
}

int LdapClient::Delete(const std::string& name) {
  if (const int code = Connect(); code != LDAP_SUCCESS) return code;
  return Done(ldap_delete_ext_s(ldap_.get(), name.c_str(), nullptr, nullptr));
}

int LdapClient::Login(const std::string& name, const std::string& password) const {
  const LdapPtr ldap = Open(url_);
  return Bind(ldap.get(), name, password);
}

}  // namespace wkagent::test
