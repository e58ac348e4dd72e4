#include <memory>

#include <wkagent/alert.h>

AlertWrapper::AlertWrapper(int type) : alertType(type), smtpAlert(nullptr) {}

AlertWrapper::~AlertWrapper() { const std::unique_ptr<WKSMTPAlertObject> settings(smtpAlert); }

int AlertWrapper::GetAlertType() { return alertType; }

void AlertWrapper::SetSMTPAlert(WKSMTPAlertObject* alert) { smtpAlert = alert; }

WKSMTPAlertObject* AlertWrapper::GetSMTPAlertInfo() { return smtpAlert; }
