#include <utility>

#include <wkagent/alert.h>

namespace {

constexpr int kSmtpAlert = 1;

void SetUnlessNull(wkagent::OwnedString& field, const char* text) {
  if (text != nullptr) field.Assign(text);
}

}  // namespace

WKSMTPAlertObject::WKSMTPAlertObject() : WKAlertObject(kSmtpAlert), active(false) {}

WKSMTPAlertObject::~WKSMTPAlertObject() = default;

int WKSMTPAlertObject::Add(const char* toList, const char* ccList, const char* sender,
                           const char* subjectText) {
  // All are copied before anything is released: they may be this object's own texts.
  wkagent::OwnedString newTo, newCc, newFrom, newSubject;
  newTo.Assign(toList);
  newCc.Assign(ccList);
  newFrom.Assign(sender);
  newSubject.Assign(subjectText);
  to = std::move(newTo);
  cc = std::move(newCc);
  from = std::move(newFrom);
  subject = std::move(newSubject);
  active = to != nullptr || cc != nullptr;
  return 0;
}

void WKSMTPAlertObject::Clear() {
  from.Reset();
  to.Reset();
  cc.Reset();
  active = false;
}

WKSMTPAlertObject* WKSMTPAlertObject::Clone() {
  auto clone = std::make_unique<WKSMTPAlertObject>();
  clone->logCallback = logCallback;
  clone->alertType = alertType;
  clone->Add(to, cc, from, subject);
  return clone.release();
}

void WKSMTPAlertObject::SetTo(char* text) { SetUnlessNull(to, text); }
void WKSMTPAlertObject::SetCC(char* text) { SetUnlessNull(cc, text); }
void WKSMTPAlertObject::SetFrom(char* text) { SetUnlessNull(from, text); }
void WKSMTPAlertObject::SetSubject(char* text) { SetUnlessNull(subject, text); }

const char* WKSMTPAlertObject::GetTo() { return to; }
const char* WKSMTPAlertObject::GetCC() { return cc; }
const char* WKSMTPAlertObject::GetFrom() { return from; }
const char* WKSMTPAlertObject::GetSubject() { return subject; }

void WKSMTPAlertObject::SetSMTPAlert(bool on) { active = on; }
bool WKSMTPAlertObject::IsSMTPAlertActive() { return active; }
