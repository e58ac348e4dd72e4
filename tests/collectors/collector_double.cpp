#include "collectors/collector_double.h"

#include <array>
#include <csignal>
#include <stdexcept>
#include <utility>

#include <openssl/x509.h>
#include <sys/socket.h>

#include "support/free_port.h"

namespace wkagent::test {
namespace {

constexpr int kReceiveBuffer = 16 * 1024;
constexpr char kGarbage[] = "220 this is another service\r\n";

struct SessionFreer {
  void operator()(SSL* session) const { SSL_free(session); }
};
struct CertificateFreer {
  void operator()(X509* certificate) const { X509_free(certificate); }
};

std::string ClientName(SSL* session) {
  const std::unique_ptr<X509, CertificateFreer> certificate(SSL_get1_peer_certificate(session));
  if (certificate == nullptr) return {};
  std::array<char, 256> name{};
  X509_NAME_get_text_by_NID(X509_get_subject_name(certificate.get()), NID_commonName, name.data(),
                            static_cast<int>(name.size()));
  return name.data();
}

// Lets the close that follows reset the connection.
void MakeCloseReset(const Fd& client) {
  const linger now{1, 0};
  setsockopt(client.Get(), SOL_SOCKET, SO_LINGER, &now, sizeof(now));
}

}  // namespace

CollectorDouble::CollectorDouble(DoubleSettings settings)
    : settings_(std::move(settings)), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  if (!settings_.identity.certificate.empty()) MakeContext();
  if (settings_.resets > 0) {
    setsockopt(listener_.Get(), SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof(kReceiveBuffer));
  }
  port_ = BindToLoopback(listener_);
  if (listen(listener_.Get(), SOMAXCONN) != 0) throw std::runtime_error("listen");
  resets_ = settings_.resets;
  thread_ = std::thread([this] { Run(); });
}

CollectorDouble::~CollectorDouble() {
  {
    const MutexLock lock(mutex_);
    stopped_ = true;
    shutdown(listener_.Get(), SHUT_RDWR);
    if (current_ >= 0) shutdown(current_, SHUT_RDWR);
  }
  thread_.join();
}

void CollectorDouble::MakeContext() {
  context_.reset(SSL_CTX_new(TLS_server_method()));
  SSL_CTX* const context = context_.get();
  const Identity& identity = settings_.identity;
  const bool made =
      SSL_CTX_use_certificate_file(context, identity.certificate.c_str(), SSL_FILETYPE_PEM) == 1 &&
      SSL_CTX_use_PrivateKey_file(context, identity.key.c_str(), SSL_FILETYPE_PEM) == 1 &&
      SSL_CTX_set_min_proto_version(context, settings_.oldest) == 1 &&
      SSL_CTX_set_max_proto_version(context, settings_.newest) == 1 &&
      SSL_CTX_set_num_tickets(context, settings_.tickets) == 1;
  if (!made) throw std::runtime_error("a TLS server");
  if (settings_.clientCa.empty()) return;
  if (SSL_CTX_load_verify_locations(context, settings_.clientCa.c_str(), nullptr) != 1) {
    throw std::runtime_error("the authority of clients");
  }
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
}

std::string CollectorDouble::Text() const {
  const MutexLock lock(mutex_);
  return text_;
}

std::vector<Session> CollectorDouble::Sessions() const {
  const MutexLock lock(mutex_);
  return sessions_;
}

void CollectorDouble::SetCurrent(int socket) {
  const MutexLock lock(mutex_);
  current_ = socket;
  if (stopped_ && socket >= 0) shutdown(socket, SHUT_RDWR);
}

void CollectorDouble::Run() {
  // A client that has gone must not end the test.
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
  while (true) {
    const Fd client(accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!client.IsOpen()) return;
    SetCurrent(client.Get());
    Answer(client);
    SetCurrent(-1);
  }
}

void CollectorDouble::Answer(const Fd& client) {
  std::array<char, 4096> hello{};
  switch (settings_.handshake) {
    case DoubleSettings::Handshake::kGood:
      return context_ == nullptr ? Serve(client) : ServeTls(client);
    case DoubleSettings::Handshake::kGarbage:
      send(client.Get(), kGarbage, sizeof(kGarbage) - 1, 0);
      return ServeTls(client);
    case DoubleSettings::Handshake::kCloses:
    case DoubleSettings::Handshake::kResets:
      recv(client.Get(), hello.data(), hello.size(), 0);
      if (settings_.handshake == DoubleSettings::Handshake::kResets) return MakeCloseReset(client);
      // Until the client has closed: a close with input that nobody read would reset.
      shutdown(client.Get(), SHUT_WR);
      while (recv(client.Get(), hello.data(), hello.size(), 0) > 0) {
      }
  }
}

void CollectorDouble::Serve(const Fd& client) {
  Remember({.complete = true, .version = {}, .serverName = {}, .clientName = {}});
  std::array<char, 4096> buffer{};
  std::size_t taken = 0;
  ssize_t length = 0;
  do {
    length = recv(client.Get(), buffer.data(), buffer.size(), 0);
  } while (length > 0 && Keep(buffer.data(), static_cast<std::size_t>(length), taken));
  if (length > 0) MakeCloseReset(client);
}

void CollectorDouble::ServeTls(const Fd& client) {
  const std::unique_ptr<SSL, SessionFreer> session(SSL_new(context_.get()));
  SSL_set_fd(session.get(), client.Get());
  const bool complete = SSL_accept(session.get()) == 1;
  const char* const serverName = SSL_get_servername(session.get(), TLSEXT_NAMETYPE_host_name);
  Remember({.complete = complete,
            .version = SSL_get_version(session.get()),
            .serverName = serverName == nullptr ? "" : serverName,
            .clientName = ClientName(session.get())});
  if (!complete) return;
  std::array<char, 4096> buffer{};
  std::size_t taken = 0;
  int length = 0;
  do {
    length = SSL_read(session.get(), buffer.data(), static_cast<int>(buffer.size()));
  } while (length > 0 && Keep(buffer.data(), static_cast<std::size_t>(length), taken));
  if (length > 0) return MakeCloseReset(client);
  SSL_shutdown(session.get());
}

// False when the connection is to be reset.
bool CollectorDouble::Keep(const char* bytes, std::size_t length, std::size_t& taken) {
  const MutexLock lock(mutex_);
  text_.append(bytes, length);
  taken += length;
  if (resets_ == 0 || taken < settings_.resetAfter) return true;
  --resets_;
  return false;
}

void CollectorDouble::Remember(Session session) {
  const MutexLock lock(mutex_);
  sessions_.push_back(std::move(session));
}

}  // namespace wkagent::test
