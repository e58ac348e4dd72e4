#include <wkagent/alert.h>

#include "core/bounded_copy.h"

WKAlertObject::WKAlertObject(int type) : alertType(type) {}

WKAlertObject::~WKAlertObject() = default;

void WKAlertObject::SetAlertMessage(char* message) {
  if (message == nullptr) return;
  char text[9];
  wkagent::CopyBounded(text, message);
  alertMessage.Assign(text);
}
