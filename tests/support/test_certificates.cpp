#include "support/test_certificates.h"

#include <cstdio>
#include <stdexcept>
#include <utility>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace wkagent::test {
namespace {

template <auto kFree>
struct Freer {
  template <typename Handle>
  void operator()(Handle* handle) const {
    kFree(handle);
  }
};
using KeyPtr = std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY_free>>;
using CertificatePtr = std::unique_ptr<X509, Freer<X509_free>>;
using ExtensionPtr = std::unique_ptr<X509_EXTENSION, Freer<X509_EXTENSION_free>>;
using FilePtr = std::unique_ptr<std::FILE, Freer<std::fclose>>;

void Require(bool done, const std::string& what) {
  if (!done) throw std::runtime_error("cannot make " + what);
}

KeyPtr MakeKey() {
  KeyPtr key(EVP_EC_gen("P-256"));
  Require(key != nullptr, "a key");
  return key;
}

void AddExtension(X509* certificate, int kind, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
  const ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()));
  Require(extension != nullptr && X509_add_ext(certificate, extension.get(), -1) == 1, value);
}

// A certificate that lacks its issuer and its signature.
CertificatePtr Fill(const CertificateText& text, EVP_PKEY* key, long serial) {
  CertificatePtr certificate(X509_new());
  X509* const raw = certificate.get();
  const auto* const name = reinterpret_cast<const unsigned char*>(text.commonName.c_str());
  const bool done =
      X509_set_version(raw, 2) == 1 && ASN1_INTEGER_set(X509_get_serialNumber(raw), serial) == 1 &&
      X509_time_adj_ex(X509_getm_notBefore(raw), text.firstDay, 0, nullptr) != nullptr &&
      X509_time_adj_ex(X509_getm_notAfter(raw), text.lastDay, 0, nullptr) != nullptr &&
      X509_NAME_add_entry_by_txt(X509_get_subject_name(raw), "CN", MBSTRING_UTF8, name, -1, -1,
                                 0) == 1 &&
      X509_set_pubkey(raw, key) == 1;
  Require(done, "a certificate");
  if (!text.alternativeNames.empty()) {
    AddExtension(raw, NID_subject_alt_name, text.alternativeNames);
  }
  return certificate;
}

void Sign(X509* certificate, X509* issuer, EVP_PKEY* key) {
  Require(X509_set_issuer_name(certificate, X509_get_subject_name(issuer)) == 1 &&
              X509_sign(certificate, key, EVP_sha256()) > 0,
          "a signature");
}

Identity Write(const std::string& path, X509* certificate, EVP_PKEY* key) {
  Identity identity{path + ".pem", path + ".key"};
  const FilePtr first(std::fopen(identity.certificate.c_str(), "we"));
  const FilePtr second(std::fopen(identity.key.c_str(), "we"));
  Require(first != nullptr && PEM_write_X509(first.get(), certificate) == 1, identity.certificate);
  Require(second != nullptr &&
              PEM_write_PrivateKey(second.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1,
          identity.key);
  return identity;
}

}  // namespace

class CertificateAuthority::Signer {
 public:
  explicit Signer(const std::string& name) : key(MakeKey()) {
    certificate = Fill({.commonName = name, .alternativeNames = ""}, key.get(), 1);
    AddExtension(certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
    Sign(certificate.get(), certificate.get(), key.get());
  }

  KeyPtr key;
  CertificatePtr certificate;
};

CertificateAuthority::CertificateAuthority(std::string folder, std::string name)
    : folder_(std::move(folder)), name_(std::move(name)), signer_(std::make_unique<Signer>(name_)) {
  Write(folder_ + "/" + name_, signer_->certificate.get(), signer_->key.get());
}

CertificateAuthority::~CertificateAuthority() = default;

std::string CertificateAuthority::Certificate() const { return folder_ + "/" + name_ + ".pem"; }

Identity CertificateAuthority::Issue(const CertificateText& text) {
  const KeyPtr key = MakeKey();
  const int serial = ++issued_ + 1;
  const CertificatePtr certificate = Fill(text, key.get(), serial);
  Sign(certificate.get(), signer_->certificate.get(), signer_->key.get());
  return Write(folder_ + "/" + name_ + "-" + std::to_string(serial), certificate.get(), key.get());
}

Identity MakeSelfSigned(const std::string& folder, const std::string& name,
                        const CertificateText& text) {
  const KeyPtr key = MakeKey();
  const CertificatePtr certificate = Fill(text, key.get(), 1);
  Sign(certificate.get(), certificate.get(), key.get());
  return Write(folder + "/" + name, certificate.get(), key.get());
}

}  // namespace wkagent::test
