// The SNMP component. Properties and methods bear the numbers that the library uses; setting
// another property is ignored.

#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include <wkagent/components.h>

#include "components/event_sink.h"
#include "components/snmp/trap.h"
#include "components/snmp/trap_sender.h"

namespace wkagent::components {
namespace {

enum Property { kCount = 6, kType = 7, kName = 8, kValue = 10, kUpTime = 13 };
enum Method { kReset = 8, kSendTrap = 12 };

constexpr int kErrorEvent = 4;
constexpr int kFailed = 1;
constexpr int kMostVariables = 100;

long Now() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 100 + now.tv_nsec / 10'000'000;
}

// Hundredths of a second since this process loaded the component: sysUpTime counts from when the
// management part of a system was started.
int UpTime() {
  static const long kStart = Now();
  return static_cast<int>((Now() - kStart) & 0x7FFFFFFF);
}

const int kStarted = UpTime();

class Agent {
 public:
  Agent(ComponentEventSink sink, void* wrapper) : events_(sink, wrapper, "snmp") {}

  int Set(int property, int index, const void* value, int length) {
    if (property == kCount) return SetCount(ToNumber(value));
    if (property != kType && property != kName && property != kValue) return 0;
    if (index < 0 || index >= static_cast<int>(variables_.size())) {
      return Fail("there is no variable " + std::to_string(index));
    }
    Variable& variable = variables_[static_cast<std::size_t>(index)];
    if (property == kType) variable.type = ToNumber(value);
    if (property == kName) variable.name = ToText(value, length);
    if (property == kValue) variable.value = ToText(value, length);
    return 0;
  }

  int Do(int method, int count, void** params, const int* lengths) {
    if (method == kReset) variables_.clear();
    if (method != kSendTrap) return 0;
    if (count < 1 || params == nullptr) return Fail("no manager to send the trap to");
    const std::string manager = ToText(params[0], lengths == nullptr ? 0 : lengths[0]);
    if (manager.empty()) return Fail("no manager to send the trap to");
    std::string error;
    Pdu trap = BuildTrap(variables_, error);
    if (trap == nullptr || !SendTrap(manager, std::move(trap), error)) return Fail(error);
    return 0;
  }

 private:
  int Fail(const std::string& what) const { return events_.Fail(kErrorEvent, kFailed, what); }

  int SetCount(int count) {
    if (count < 0 || count > kMostVariables) return Fail("too many variables");
    variables_.resize(static_cast<std::size_t>(count));
    return 0;
  }

  const EventSink events_;
  std::vector<Variable> variables_;
};

}  // namespace
}  // namespace wkagent::components

using wkagent::components::Agent;

void* SNMPAgent_Create(ComponentEventSink sink, void* wrapper, const char* /*key*/) {
  return std::make_unique<Agent>(sink, wrapper).release();
}

int SNMPAgent_Set(void* handle, int property, int index, const void* value, int length) {
  if (handle == nullptr) return wkagent::components::kFailed;
  return static_cast<Agent*>(handle)->Set(property, index, value, length);
}

void* SNMPAgent_Get(void* /*handle*/, int property, int /*index*/, int* length) {
  if (length != nullptr) *length = 0;
  using wkagent::components::ToParameter;
  return ToParameter(property == wkagent::components::kUpTime ? wkagent::components::UpTime() : 0);
}

int SNMPAgent_Do(void* handle, int method, int count, void** params, int* lengths) {
  if (handle == nullptr) return wkagent::components::kFailed;
  return static_cast<Agent*>(handle)->Do(method, count, params, lengths);
}

int SNMPAgent_Destroy(void* handle) {
  const std::unique_ptr<Agent> ended(static_cast<Agent*>(handle));
  return 0;
}
