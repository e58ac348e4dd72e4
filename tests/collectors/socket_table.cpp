#include "collectors/socket_table.h"

#include <fstream>
#include <functional>
#include <sstream>
#include <string>

namespace wkagent::test {
namespace {

constexpr int kEstablished = 1;
constexpr int kListens = 10;

// The ends of a socket, as its line names them: "0100007F:1F90".
int PortOf(const std::string& end) { return std::stoi(end.substr(end.find(':') + 1), nullptr, 16); }

struct Entry {
  int local = 0;
  int remote = 0;
  int state = 0;
  SocketState socket;
};

Entry Parse(const std::string& line, bool udp) {
  std::istringstream words(line);
  std::string number;
  std::string local;
  std::string remote;
  std::string state;
  std::string queues;
  words >> number >> local >> remote >> state >> queues;
  Entry entry{PortOf(local), PortOf(remote), std::stoi(state, nullptr, 16), {}};
  entry.socket.unsent = std::stoull(queues, nullptr, 16);
  entry.socket.unread = std::stoull(queues.substr(queues.find(':') + 1), nullptr, 16);
  std::string last;  // for UDP, the number of drops
  while (words >> last) {
  }
  if (udp) entry.socket.dropped = std::stoull(last);
  return entry;
}

std::optional<SocketState> Find(const char* protocol,
                                const std::function<bool(const Entry&)>& wanted) {
  const bool udp = std::string(protocol) == "udp";
  // The thread's own network, which may be another than that of the process's first thread.
  std::ifstream table(std::string("/proc/thread-self/net/") + protocol);
  std::string line;
  std::getline(table, line);
  while (std::getline(table, line)) {
    const Entry entry = Parse(line, udp);
    if (wanted(entry)) return entry.socket;
  }
  return std::nullopt;
}

}  // namespace

std::optional<SocketState> FindListener(int port) {
  return Find(
      "tcp", [port](const Entry& entry) { return entry.state == kListens && entry.local == port; });
}

std::optional<SocketState> FindUdpSocket(int port) {
  return Find("udp", [port](const Entry& entry) { return entry.local == port; });
}

std::optional<SocketState> FindConnectionTo(int port) {
  return Find("tcp", [port](const Entry& entry) {
    return entry.state == kEstablished && entry.remote == port;
  });
}

}  // namespace wkagent::test
