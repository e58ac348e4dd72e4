#include <cstdio>

#include <wkagent/core.h>

#include "core/literal_format.h"

WKLogStatus::WKLogStatus() : logCallback(nullptr) {}

WKLogStatus::~WKLogStatus() = default;

void WKLogStatus::InitializeLogMessage(void (*callback)(int, char*, char*)) {
  logCallback = callback;
}

void WKLogStatus::LogStatus(char* message) {
  if (message == nullptr) return;
  if (logCallback == nullptr) {
    std::fputs(wkagent::ExpandLiteralFormat(message).c_str(), stderr);
    return;
  }
  char extra[1] = "";
  logCallback(0, message, extra);
}
