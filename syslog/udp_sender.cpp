#include <cerrno>

#include <sys/socket.h>

#include <wkagent/syslog.h>

#include "core/handles.h"
#include "syslog/diagnostic_log.h"
#include "syslog/sender_state.h"
#include "syslog/socket.h"

bool WKSyslogSender::sendUDP(const std::string& message) {
  const wkagent::Fd socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (!socket.IsOpen()) {
    wkagent::senderLog.ReportError("UDP socket creation failed: ", errno);
    return false;
  }
  sockaddr_in address{};
  if (!wkagent::ToAddress(serverHost, serverPort, address)) {
    wkagent::senderLog.Report("Invalid server address: ", serverHost);
    return false;
  }
  const auto* const to = reinterpret_cast<const sockaddr*>(&address);
  if (::sendto(socket.Get(), message.data(), message.size(), 0, to, sizeof(address)) < 0) {
    wkagent::senderLog.ReportError("UDP send failed: ", errno);
    return false;
  }
  if (!retryHandler.IsInPass()) state_->CountSent(1);
  return true;
}
