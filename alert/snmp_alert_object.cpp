#include <wkagent/alert.h>

namespace {

constexpr int kSnmpAlert = 2;

}  // namespace

WKSNMPAlertObject::WKSNMPAlertObject() : WKAlertObject(kSnmpAlert), active(false) {}

WKSNMPAlertObject::~WKSNMPAlertObject() = default;

void WKSNMPAlertObject::SetSNMPAlert(bool on) { active = on; }
bool WKSNMPAlertObject::IsSNMPAlertActive() { return active; }
