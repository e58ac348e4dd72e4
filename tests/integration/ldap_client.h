#ifndef WKAGENT_TESTS_INTEGRATION_LDAP_CLIENT_H
#define WKAGENT_TESTS_INTEGRATION_LDAP_CLIENT_H

#include <initializer_list>
#include <string>
#include <utility>

#include "agent/ldap_handles.h"

namespace wkagent::test {

// A client of a directory server. Each operation returns its LDAP result code; after one that says
// that the server is down, the client connects anew with the next.
class LdapClient {
 public:
  LdapClient(std::string url, std::string user, std::string password);

  int Add(const std::string& name,
          std::initializer_list<std::pair<const char*, std::string>> attributes);
  int AddValue(const std::string& name, const char* attribute, const std::string& value);
  int Rename(const std::string& name, const std::string& newRdn);
  int Delete(const std::string& name);

  // Binds on a connection of its own.
  [[nodiscard]] int Login(const std::string& name, const std::string& password) const;

 private:
  [[nodiscard]] static int Bind(LDAP* ldap, const std::string& name, const std::string& password);
  [[nodiscard]] int Connect();
  int Done(int code);

  std::string url_;
  std::string user_;
  std::string password_;
  LdapPtr ldap_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_INTEGRATION_LDAP_CLIENT_H
