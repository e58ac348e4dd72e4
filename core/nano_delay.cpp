#include <wkagent/core.h>

namespace {

constexpr long kLongest = 999999000;

bool IsBelowLongest(long nanoseconds) { return nanoseconds >= 1 && nanoseconds < kLongest; }

}  // namespace

CWKNanoDelay::CWKNanoDelay(long nanoseconds)
    : delay(IsBelowLongest(nanoseconds) ? nanoseconds : kLongest), sleepTime{} {}

long CWKNanoDelay::SetDelay(long nanoseconds) {
  delay = IsBelowLongest(nanoseconds) ? kLongest : nanoseconds;
  return kLongest;
}

long CWKNanoDelay::GetDelaySetting() { return delay; }

int CWKNanoDelay::Sleep() {
  sleepTime = {0, delay};
  return nanosleep(&sleepTime, nullptr);
}
