#ifndef WKAGENT_AGENT_LDAP_HANDLES_H
#define WKAGENT_AGENT_LDAP_HANDLES_H

#include <memory>

#include <ldap.h>

namespace wkagent {

// Owners of what libldap hands out.

struct LdapCloser {
  void operator()(LDAP* ldap) const { ldap_unbind_ext_s(ldap, nullptr, nullptr); }
};
using LdapPtr = std::unique_ptr<LDAP, LdapCloser>;

struct LdapMessageFreer {
  void operator()(LDAPMessage* message) const { ldap_msgfree(message); }
};
using LdapMessagePtr = std::unique_ptr<LDAPMessage, LdapMessageFreer>;

struct BerFreer {
  void operator()(BerElement* ber) const { ber_free(ber, 1); }
};
using BerPtr = std::unique_ptr<BerElement, BerFreer>;

struct BerValueFreer {
  void operator()(berval* value) const { ber_bvfree(value); }
};
using BerValuePtr = std::unique_ptr<berval, BerValueFreer>;

struct BerValuesFreer {
  void operator()(berval** values) const { ldap_value_free_len(values); }
};
using BerValuesPtr = std::unique_ptr<berval*, BerValuesFreer>;

struct LdapMemoryFreer {
  void operator()(char* text) const { ldap_memfree(text); }
};
using LdapText = std::unique_ptr<char, LdapMemoryFreer>;

}  // namespace wkagent

#endif  // WKAGENT_AGENT_LDAP_HANDLES_H
