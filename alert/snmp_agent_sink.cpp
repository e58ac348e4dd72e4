#include "alert/snmp_agent_sink.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

// The host need not have the component.
#pragma weak SNMPAgent_Create
#pragma weak SNMPAgent_Set
#pragma weak SNMPAgent_Get
#pragma weak SNMPAgent_Do
#pragma weak SNMPAgent_Destroy

namespace wkagent {
namespace {

constexpr int kNone = -1;

// What is done about an event: the operation that takes it, the parameters that an operation may
// change, and the one whose length it needs.
struct Event {
  int (*fire)(SNMPAgent& agent, SNMPAgentEventParams& event);
  std::array<int, 3> writtenBack;
  int lengthOf;
};

template <typename Params, int (SNMPAgent::*kOperation)(Params*)>
int Fire(SNMPAgent& agent, SNMPAgentEventParams& event) {
  Params params{event};
  const int result = (agent.*kOperation)(&params);
  event = params;
  return result;
}

#define WKAGENT_FIRE(name) &Fire<SNMPAgent##name##EventParams, &SNMPAgent::Fire##name>

// In the order of the event numbers, which begin with 1.
constexpr Event kEvents[] = {
    {WKAGENT_FIRE(BadPacket), {5, kNone, kNone}, 0},
    {WKAGENT_FIRE(CacheEntry), {kNone, kNone, kNone}, kNone},
    {WKAGENT_FIRE(DiscoveryRequest), {7, kNone, kNone}, 0},
    {WKAGENT_FIRE(Error), {kNone, kNone, kNone}, kNone},
    {WKAGENT_FIRE(GetBulkRequest), {9, 10, 12}, kNone},
    {WKAGENT_FIRE(GetNextRequest), {7, 8, 10}, kNone},
    {WKAGENT_FIRE(GetRequest), {7, 8, 10}, kNone},
    {WKAGENT_FIRE(GetUserPassword), {2, 3, kNone}, kNone},
    {WKAGENT_FIRE(GetUserSecurityLevel), {2, kNone, kNone}, 1},
    {WKAGENT_FIRE(HashPassword), {2, kNone, kNone}, kNone},
    {WKAGENT_FIRE(PacketTrace), {kNone, kNone, kNone}, 0},
    {WKAGENT_FIRE(ReadyToSend), {kNone, kNone, kNone}, kNone},
    {WKAGENT_FIRE(Report), {kNone, kNone, kNone}, kNone},
    {WKAGENT_FIRE(SetRequest), {7, 8, 10}, kNone},
};

#undef WKAGENT_FIRE

void* ToPointer(int value) { return reinterpret_cast<void*>(static_cast<std::intptr_t>(value)); }

}  // namespace

SNMPAgent::SNMPAgent() : handle_(SNMPAgent_Create(SNMPAgentEventSink, this, "")) {}

SNMPAgent::~SNMPAgent() { Destroy(); }

bool SNMPAgent::IsAvailable() {
  return SNMPAgent_Create != nullptr && SNMPAgent_Set != nullptr && SNMPAgent_Get != nullptr &&
         SNMPAgent_Do != nullptr && SNMPAgent_Destroy != nullptr;
}

void SNMPAgent::SetNumber(int property, int index, int value) {
  SNMPAgent_Set(handle_, property, index, ToPointer(value), 0);
}

void SNMPAgent::SetText(int property, int index, const char* text, int length) {
  SNMPAgent_Set(handle_, property, index, text, length);
}

int SNMPAgent::GetNumber(int property) {
  int length = 0;
  void* const value = SNMPAgent_Get(handle_, property, 0, &length);
  return static_cast<int>(reinterpret_cast<std::intptr_t>(value));
}

int SNMPAgent::Do(int method, const char* first, const char* second) {
  void* params[] = {const_cast<char*>(first), const_cast<char*>(second), nullptr};
  int lengths[] = {0, 0, 0};
  return SNMPAgent_Do(handle_, method, first == nullptr ? 0 : 2, params, lengths);
}

int SNMPAgent::Destroy() {
  if (void* const handle = std::exchange(handle_, nullptr); handle != nullptr) {
    destroyed_ = SNMPAgent_Destroy(handle);
  }
  return destroyed_;
}

int SNMPAgentEventSink(void* wrapper, int eventId, int count, void** params, int* lengths) {
  if (wrapper == nullptr || params == nullptr) return 0;
  if (eventId < 1 || eventId > static_cast<int>(std::size(kEvents))) return 0;
  const Event& event = kEvents[eventId - 1];
  SNMPAgentEventParams copy;
  const int known = std::clamp(count, 0, SNMPAgentEventParams::kMostParams);
  std::copy(params, params + known, copy.params.begin());
  const int block = event.lengthOf;
  if (block != kNone && block < known && lengths != nullptr) copy.length = lengths[block];
  const int result = event.fire(*static_cast<SNMPAgent*>(wrapper), copy);
  for (const int index : event.writtenBack) {
    if (index != kNone && index < known)
      params[index] = copy.params[static_cast<std::size_t>(index)];
  }
  return result;
}

}  // namespace wkagent
