#include <syslog.h>

#include <wkagent/alert.h>

#include "alert/current_object.h"
#include "alert/spool_file.h"

WKSysLog* WKSysLog::SysLogPtr = nullptr;

namespace {

constexpr char kKind[] = "SysLog";
constexpr int kAllPriorities = 255;

wkagent::CurrentObject<WKSysLog>& Current() {
  static wkagent::CurrentObject<WKSysLog> current(WKSysLog::SysLogPtr);
  return current;
}

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
  return wkagent::ReplayLines(*this, path, {.keep = true, .stop = &stop}, [this, &stop] {
    SendMessage();
    return !stop;
  });
}

void WKSysLog::SysLogAlertAvailable(const char* name) {
  wkagent::ReplayThrough(Current().Get(), name);
}
