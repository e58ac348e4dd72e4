#include <utility>

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>

#include <wkagent/alert.h>

#include "alert/current_object.h"
#include "alert/spool_file.h"
#include "core/bounded_copy.h"
#include "core/handles.h"

WKSysLog* WKSysLog::SysLogPtr = nullptr;

namespace {

constexpr char kKind[] = "SysLog";
constexpr int kAllPriorities = 255;

wkagent::CurrentObject<WKSysLog>& Current() {
  static wkagent::CurrentObject<WKSysLog> current(WKSysLog::SysLogPtr);
  return current;
}

bool CanConnect(int type) {
  const wkagent::Fd socket(::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const sockaddr_un address = {AF_UNIX, _PATH_LOG};
  const auto* const any = reinterpret_cast<const sockaddr*>(&address);
  return socket.IsOpen() && ::connect(socket.Get(), any, sizeof(address)) == 0;
}

// syslog(3) does not tell; without a daemon it writes to the console at best.
bool LogDaemonListens() { return CanConnect(SOCK_DGRAM) || CanConnect(SOCK_STREAM); }

}  // namespace

WKSysLog::WKSysLog() {
  ::setlogmask(kAllPriorities);
  Current().Enter(this);
}

WKSysLog::~WKSysLog() { Current().Leave(this); }

void WKSysLog::SetMessage(char* text) { wkagent::ReplaceMessage(*this, text); }

void WKSysLog::SendMessage() {
  if (message[0] == '\0') return;
  ::openlog("WKAgent", LOG_PID | LOG_CONS | LOG_NDELAY, LOG_USER);
  ::syslog(LOG_INFO, "%s\n", message);
  ::closelog();
}

void WKSysLog::Serialize() { wkagent::SpoolLine(*this, kKind); }

int WKSysLog::Deserialize(char* path) {
  return wkagent::ReplayLines(*this, path, {}, [this] {
    SendMessage();
    return true;
  });
}

int WKSysLog::Replay(char* path, const std::atomic<bool>& stop) {
  bool told = false;
  return wkagent::ReplayLines(*this, path, {.keep = true, .stop = &stop}, [&] {
    if (!LogDaemonListens()) {
      wkagent::CopyBounded(statusText, "No log daemon listens");
      if (!std::exchange(told, true)) LogStatus(statusText);
      return false;
    }
    SendMessage();
    return !stop;
  });
}

void WKSysLog::SysLogAlertAvailable(const char* name) {
  wkagent::ReplayThrough(Current().Get(), name);
}
