#ifndef WKAGENT_TESTS_SUPPORT_TEST_CERTIFICATES_H
#define WKAGENT_TESTS_SUPPORT_TEST_CERTIFICATES_H

#include <memory>
#include <string>

namespace wkagent::test {

// What a certificate says.
struct CertificateText {
  std::string commonName = "collector";
  std::string alternativeNames = {};  // as OpenSSL writes them: "DNS:collector,IP:127.0.0.1"
  int firstDay = -1;                  // counted from today
  int lastDay = 1;
};

// The paths of a certificate and of its key, both PEM.
struct Identity {
  std::string certificate;
  std::string key;
};

// An authority of the test's own, with a fresh key. It keeps its files in a folder of the test.
class CertificateAuthority {
 public:
  CertificateAuthority(std::string folder, std::string name);
  ~CertificateAuthority();
  CertificateAuthority(const CertificateAuthority&) = delete;
  CertificateAuthority& operator=(const CertificateAuthority&) = delete;

  // The path of its own certificate.
  [[nodiscard]] std::string Certificate() const;

  // Makes a key and signs a certificate for it.
  Identity Issue(const CertificateText& text);

 private:
  class Signer;

  const std::string folder_;
  const std::string name_;
  int issued_ = 0;
  std::unique_ptr<Signer> signer_;
};

// Makes a key and a certificate that is signed with it; `name` is that of the files.
Identity MakeSelfSigned(const std::string& folder, const std::string& name,
                        const CertificateText& text);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_TEST_CERTIFICATES_H
