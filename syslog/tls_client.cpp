// The initialisation follows OpenSSL 1.1 and still has to compile with later versions.
#define OPENSSL_API_COMPAT 0x10100000L

#include "syslog/tls_client.h"

#include <array>
#include <chrono>
#include <string>

#include <openssl/err.h>
#include <openssl/x509v3.h>
#include <poll.h>

#include "core/broken_pipe.h"
#include "syslog/diagnostic_log.h"
#include "syslog/socket.h"

namespace {

constexpr std::size_t kErrorTextSize = 256;
constexpr int kMostReads = 16;

void InitLibrary() {
  OPENSSL_init_ssl(0, nullptr);
  OPENSSL_init_ssl(OPENSSL_INIT_LOAD_SSL_STRINGS | OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
  OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_CIPHERS | OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr);
  ERR_load_BIO_strings();
  OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
}

bool Fail(const std::string& message) {
  wkagent::senderLog.Report(message);
  ERR_clear_error();  // or the next SSL_get_error would take these errors for its own
  return false;
}

bool LoadTrust(SSL_CTX* context, const std::string& path) {
  if (path.empty()) {
    return SSL_CTX_set_default_verify_paths(context) == 1 ||
           Fail("Failed to load system default CA paths");
  }
  return SSL_CTX_load_verify_locations(context, path.c_str(), nullptr) == 1 ||
         Fail("Failed to load CA cert: " + path);
}

bool LoadClientCertificate(SSL_CTX* context, const SyslogConfig& config) {
  const std::string& certificate = config.tlsClientCertPath;
  if (!certificate.empty() &&
      SSL_CTX_use_certificate_file(context, certificate.c_str(), SSL_FILETYPE_PEM) != 1) {
    return Fail("Failed to load client cert: " + certificate);
  }
  const std::string& key = config.tlsClientKeyPath;
  if (!key.empty() && SSL_CTX_use_PrivateKey_file(context, key.c_str(), SSL_FILETYPE_PEM) != 1) {
    return Fail("Failed to load client key: " + key);
  }
  return true;
}

// Which name the peer is told, and which its certificate must bear.
void SetServerName(SSL* session, const SyslogConfig& config) {
  const bool hostIsAddress = wkagent::IsAddress(config.serverHost);
  const bool named = !config.tlsServerName.empty();
  const std::string& name = named ? config.tlsServerName : config.serverHost;
  if (named || !hostIsAddress) SSL_set_tlsext_host_name(session, name.c_str());
  if (!config.verifyServerCert) return;
  X509_VERIFY_PARAM* const checks = SSL_get0_param(session);
  X509_VERIFY_PARAM_set_hostflags(checks, X509_CHECK_FLAG_NO_WILDCARDS);
  if (named || !hostIsAddress) {
    X509_VERIFY_PARAM_set1_host(checks, name.c_str(), name.size());
  } else {
    X509_VERIFY_PARAM_set1_ip_asc(checks, name.c_str());
  }
}

// Reports why a call that returned this has failed.
bool FailHandshake(SSL* session, int result) {
  const int code = SSL_get_error(session, result);
  std::array<char, kErrorTextSize> text{};
  ERR_error_string_n(ERR_get_error(), text.data(), text.size());
  return Fail("SSL_connect failed: SSL_get_error=" + std::to_string(code) + ", " + text.data());
}

// SSL_connect; on a socket with a time limit, that is the one of the whole handshake too, as a peer
// that says a byte now and then would never reach that of a single read.
int Connect(SSL* session, int socket) {
  using Clock = std::chrono::steady_clock;
  const std::chrono::milliseconds limit = wkagent::WaitLimit(socket);
  if (limit.count() == 0) return SSL_connect(session);
  const Clock::time_point deadline = Clock::now() + limit;
  wkagent::SetBlocking(socket, false);
  int result = 0;
  for (;;) {
    ERR_clear_error();
    result = SSL_connect(session);
    const int code = SSL_get_error(session, result);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if ((code != SSL_ERROR_WANT_READ && code != SSL_ERROR_WANT_WRITE) || left.count() <= 0) break;
    pollfd wanted = {socket, static_cast<short>(code == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT), 0};
    ::poll(&wanted, 1, static_cast<int>(left.count()));
  }
  wkagent::SetBlocking(socket, true);
  return result;
}

// OpenSSL calls this when the server asks for a certificate.
int NoteRequest(SSL* /*session*/, void* requested) {
  *static_cast<bool*>(requested) = true;
  return 1;
}

// Waits for the server's answer to the client's certificate. False, with the reason reported, where
// it refuses.
bool IsWelcome(SSL* session, int socket, int milliseconds) {
  if (wkagent::LookAtPeer(socket, milliseconds) == wkagent::Peer::kSilent) return true;
  wkagent::SetBlocking(socket, false);
  ERR_clear_error();
  char byte = 0;
  const int result = SSL_peek(session, &byte, 1);
  const int code = SSL_get_error(session, result);
  const bool open = result > 0 || code == SSL_ERROR_WANT_READ || code == SSL_ERROR_WANT_WRITE;
  if (!open) (void)FailHandshake(session, result);
  ERR_clear_error();
  wkagent::SetBlocking(socket, true);
  return open;
}

}  // namespace

bool WKSyslogSender::initializeTLSContext() {
  InitLibrary();
  ERR_clear_error();
  SSL_CTX_free(sslContext);
  sslContext = SSL_CTX_new(TLS_client_method());
  if (sslContext == nullptr) return Fail("Failed to create SSL context");
  SSL_CTX_set_session_cache_mode(sslContext, SSL_SESS_CACHE_CLIENT);
  SSL_CTX_set_options(sslContext, SSL_OP_NO_TICKET);
  // Deliberate: after a failure the context stays as far as it got. Connecting still fails for a
  // server that should have been verified, because the result of the check is looked at as well.
  if (!LoadTrust(sslContext, tlsCACertPath)) return false;
  if (mutualTLS && !LoadClientCertificate(sslContext, *this)) return false;
  SSL_CTX_set_verify(sslContext, verifyServerCert ? SSL_VERIFY_PEER : SSL_VERIFY_NONE, nullptr);
  return true;
}

namespace wkagent {

SslPtr StartTls(SSL_CTX* context, int socket, const SyslogConfig& config, int patience) {
  ERR_clear_error();
  SslPtr session(SSL_new(context));
  if (session == nullptr) {
    Fail("SSL_new failed");
    return nullptr;
  }
  SSL_set_fd(session.get(), socket);
  SetServerName(session.get(), config);
  const BrokenPipeGuard guard;
  ERR_clear_error();
  bool requested = false;
  SSL_set_cert_cb(session.get(), NoteRequest, &requested);
  const int result = Connect(session.get(), socket);
  SSL_set_cert_cb(session.get(), nullptr, nullptr);
  if (result <= 0) {
    (void)FailHandshake(session.get(), result);
    return nullptr;
  }
  const long verified = config.verifyServerCert ? SSL_get_verify_result(session.get()) : X509_V_OK;
  if (verified != X509_V_OK) {
    Fail(std::string("Certificate verify failed: ") + X509_verify_cert_error_string(verified));
    return nullptr;
  }
  const bool judgedLater = requested && SSL_version(session.get()) == TLS1_3_VERSION;
  if (judgedLater && patience > 0 && !IsWelcome(session.get(), socket, patience)) return nullptr;
  return session;
}

void EndTls(SslPtr session, int socket) {
  // A peer that does not read must not hold up whoever closes.
  SetBlocking(socket, false);
  const BrokenPipeGuard guard;
  ERR_clear_error();
  SSL_shutdown(session.get());
  ERR_clear_error();
}

bool DiscardTlsInput(SSL* session, int socket) {
  SetBlocking(socket, false);
  const BrokenPipeGuard guard;
  std::array<char, 4096> buffer{};
  bool ended = false;
  for (int reads = 0; reads < kMostReads; ++reads) {
    ERR_clear_error();
    const int result = SSL_read(session, buffer.data(), static_cast<int>(buffer.size()));
    if (result > 0) continue;
    const int code = SSL_get_error(session, result);
    ended = code != SSL_ERROR_WANT_READ && code != SSL_ERROR_WANT_WRITE;
    break;
  }
  ERR_clear_error();
  SetBlocking(socket, true);
  return ended;
}

}  // namespace wkagent
