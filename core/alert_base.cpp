#include <wkagent/core.h>

WKAlert::WKAlert() : statusText{}, message{} {}

WKAlert::~WKAlert() = default;
