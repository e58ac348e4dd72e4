#include "components/snmp/trap_sender.h"

#include <cstdlib>
#include <memory>
#include <mutex>

namespace wkagent::components {
namespace {

constexpr char kCommunity[] = "public";
constexpr char kDefaultPort[] = ":162";

struct SessionCloser {
  void operator()(void* session) const { snmp_sess_close(session); }
};
struct TextFreer {
  void operator()(char* text) const { std::free(text); }  // as net-snmp allocates it
};
using Session = std::unique_ptr<void, SessionCloser>;

std::string ErrorOf(const netsnmp_session& session) {
  int systemError = 0;
  int snmpError = 0;
  char* text = nullptr;
  snmp_error(const_cast<netsnmp_session*>(&session), &systemError, &snmpError, &text);
  const std::unique_ptr<char, TextFreer> owner(text);
  return text == nullptr ? "unknown error" : text;
}

// net-snmp sets its transports up once, without a lock of its own.
void Init() {
  static std::once_flag once;
  std::call_once(once, [] {
    snmp_disable_log();  // the error is told by the component
    netsnmp_session unused;
    snmp_sess_init(&unused);
  });
}

}  // namespace

bool SendTrap(const std::string& manager, Pdu trap, std::string& error) {
  Init();
  const bool hasPort = manager.find(':') != std::string::npos;
  std::string peer = "udp:" + manager + (hasPort ? "" : kDefaultPort);
  netsnmp_session settings;
  snmp_sess_init(&settings);
  settings.version = SNMP_VERSION_2c;
  settings.peername = peer.data();
  std::string community = kCommunity;
  settings.community = reinterpret_cast<u_char*>(community.data());
  settings.community_len = community.size();
  const Session session(snmp_sess_open(&settings));
  if (session == nullptr) {
    error = manager + ": " + ErrorOf(settings);
    return false;
  }
  if (snmp_sess_send(session.get(), trap.get()) == 0) {
    error = manager + ": " + ErrorOf(*snmp_sess_session(session.get()));
    return false;
  }
  (void)trap.release();  // net-snmp's, once it is sent
  return true;
}

}  // namespace wkagent::components
