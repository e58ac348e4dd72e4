#ifndef WKAGENT_TESTS_INTEGRATION_SLAPD_H
#define WKAGENT_TESTS_INTEGRATION_SLAPD_H

#include <memory>
#include <string>
#include <vector>

#include "support/process.h"

namespace wkagent::test {

// A slapd of the test's own on loopback, with the suffix o=acme (ou=sales and ou=finance below it),
// the auditlog overlay on that database and on cn=config, and a log of that database's changes,
// binds and unbinds in cn=accesslog, which kReader may read. It ends with the object.
class DirectoryServer {
 public:
  static constexpr char kAdmin[] = "cn=admin,o=acme";
  static constexpr char kConfigAdmin[] = "cn=config";
  static constexpr char kReader[] = "cn=reader,o=acme";
  static constexpr char kPassword[] = "Geheim7-root";  // of all of them

  // Keeps its files in `folder`, which exists and is empty, and writes its change log to `log`.
  // Returns once it answers; throws where it does not.
  DirectoryServer(std::string folder, const std::string& log);

  // Each is the tool of that name, run as `user`; throws with its words where it fails.
  void Add(const std::string& ldif, const std::string& user = kAdmin) const;
  void Modify(const std::string& ldif, const std::string& user = kAdmin) const;
  void Rename(const std::string& name, const std::string& newRdn) const;
  void Move(const std::string& name, const std::string& newRdn, const std::string& parent) const;
  void ChangePassword(const std::string& name, const std::string& password) const;
  void Delete(const std::string& name) const;

  // Ends slapd, and starts it again with the same data and port.
  void Stop();
  void StartAgain();

  // Lets it offer STARTTLS, with a certificate of its own for 127.0.0.1, and from its next start on
  // LDAPS on port 636. Returns the certificate's path.
  std::string OfferTls();

  [[nodiscard]] const std::string& Url() const { return url_; }
  [[nodiscard]] int Port() const { return port_; }

  // ldapadd over the local socket instead of TCP.
  void AddLocally(const std::string& ldif) const;

  [[nodiscard]] const std::string& SocketPath() const { return socket_; }

 private:
  void WriteConfiguration(const std::string& log) const;
  void WriteEntries() const;
  [[nodiscard]] bool Start(int port);
  [[nodiscard]] bool Answers() const;
  void Tool(const std::string& tool, const std::string& user, const std::vector<std::string>& more,
            const std::string& input = {}) const;

  const std::string folder_;
  const std::string socket_;
  std::string url_;
  int port_ = 0;
  std::string moreUrls_;
  std::unique_ptr<Process> slapd_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_INTEGRATION_SLAPD_H
