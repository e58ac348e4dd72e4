#include <wkagent/alert.h>

namespace {

constexpr int kSyslogAlert = 3;

}  // namespace

WKSyslogAlertObject::WKSyslogAlertObject() : WKAlertObject(kSyslogAlert), active(false) {}

WKSyslogAlertObject::~WKSyslogAlertObject() = default;

void WKSyslogAlertObject::SetSyslogAlert(bool on) { active = on; }
bool WKSyslogAlertObject::IsSyslogAlertActive() { return active; }
