#include "forward/plain_sender.h"

#include <algorithm>
#include <stdexcept>

#include <arpa/inet.h>
#include <sys/socket.h>

namespace wkagent::bench {
namespace {

constexpr std::size_t kBatchSize = 100;

}  // namespace

PlainSender::PlainSender(int port, const std::string& authority)
    : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(socket_.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::runtime_error("the plain sender cannot connect");
  }
  if (!authority.empty()) {
    context_.reset(SSL_CTX_new(TLS_client_method()));
    SSL_CTX_load_verify_locations(context_.get(), authority.c_str(), nullptr);
    SSL_CTX_set_verify(context_.get(), SSL_VERIFY_PEER, nullptr);
    session_.reset(SSL_new(context_.get()));
    SSL_set_fd(session_.get(), socket_.Get());
    if (SSL_connect(session_.get()) != 1) throw std::runtime_error("no TLS for the plain sender");
  }
  worker_ = std::thread([this] { Work(); });
}

PlainSender::~PlainSender() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stops_ = true;
  }
  changed_.notify_one();
  worker_.join();
}

void PlainSender::Send(const std::string& line) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    queue_.push_back(line);
  }
  changed_.notify_one();
}

void PlainSender::Work() {
  while (true) {
    std::vector<std::string> batch;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      changed_.wait(lock, [this] { return !queue_.empty() || stops_; });
      if (queue_.empty()) return;
      while (!queue_.empty() && batch.size() < kBatchSize) {
        batch.push_back(std::move(queue_.front()));
        queue_.pop_front();
      }
    }
    std::string text;
    for (const std::string& line : batch) {
      text += line;
      text += '\n';
    }
    Write(text);
    sent_ += static_cast<long>(batch.size());
  }
}

void PlainSender::Write(const std::string& text) const {
  const auto size = static_cast<ssize_t>(text.size());
  const ssize_t written = session_ != nullptr
                              ? SSL_write(session_.get(), text.data(), static_cast<int>(size))
                              : send(socket_.Get(), text.data(), text.size(), 0);
  if (written != size) throw std::runtime_error("the plain sender cannot write");
}

}  // namespace wkagent::bench
