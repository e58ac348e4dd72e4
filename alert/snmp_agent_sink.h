#ifndef WKAGENT_ALERT_SNMP_AGENT_SINK_H
#define WKAGENT_ALERT_SNMP_AGENT_SINK_H

#include <array>

#include <wkagent/components.h>

namespace wkagent {

// One event of the SNMP component: its parameters as the component passes them, and the length of
// the one that is a block of bytes, in the events that have one. An operation may change the
// parameters of which the component wants to know.
struct SNMPAgentEventParams {
  static constexpr int kMostParams = 16;

  std::array<void*, kMostParams> params = {};
  int length = 0;
  int reserved = 0;
};

struct SNMPAgentBadPacketEventParams : SNMPAgentEventParams {};
struct SNMPAgentCacheEntryEventParams : SNMPAgentEventParams {};
struct SNMPAgentDiscoveryRequestEventParams : SNMPAgentEventParams {};
struct SNMPAgentErrorEventParams : SNMPAgentEventParams {};
struct SNMPAgentGetBulkRequestEventParams : SNMPAgentEventParams {};
struct SNMPAgentGetNextRequestEventParams : SNMPAgentEventParams {};
struct SNMPAgentGetRequestEventParams : SNMPAgentEventParams {};
struct SNMPAgentGetUserPasswordEventParams : SNMPAgentEventParams {};
struct SNMPAgentGetUserSecurityLevelEventParams : SNMPAgentEventParams {};
struct SNMPAgentHashPasswordEventParams : SNMPAgentEventParams {};
struct SNMPAgentPacketTraceEventParams : SNMPAgentEventParams {};
struct SNMPAgentReadyToSendEventParams : SNMPAgentEventParams {};
struct SNMPAgentReportEventParams : SNMPAgentEventParams {};
struct SNMPAgentSetRequestEventParams : SNMPAgentEventParams {};

// One use of the SNMP component: its handle, which it destroys, and what it does about events,
// which is nothing unless a derived class says otherwise. It belongs to one thread.
class SNMPAgent {
 public:
  SNMPAgent();

  virtual int FireBadPacket(SNMPAgentBadPacketEventParams*) { return 0; }
  virtual int FireCacheEntry(SNMPAgentCacheEntryEventParams*) { return 0; }
  virtual int FireDiscoveryRequest(SNMPAgentDiscoveryRequestEventParams*) { return 0; }
  virtual int FireError(SNMPAgentErrorEventParams*) { return 0; }
  virtual int FireGetBulkRequest(SNMPAgentGetBulkRequestEventParams*) { return 0; }
  virtual int FireGetNextRequest(SNMPAgentGetNextRequestEventParams*) { return 0; }
  virtual int FireGetRequest(SNMPAgentGetRequestEventParams*) { return 0; }
  virtual int FireGetUserPassword(SNMPAgentGetUserPasswordEventParams*) { return 0; }
  virtual int FireGetUserSecurityLevel(SNMPAgentGetUserSecurityLevelEventParams*) { return 0; }
  virtual int FireHashPassword(SNMPAgentHashPasswordEventParams*) { return 0; }
  virtual int FirePacketTrace(SNMPAgentPacketTraceEventParams*) { return 0; }
  virtual int FireReadyToSend(SNMPAgentReadyToSendEventParams*) { return 0; }
  virtual int FireReport(SNMPAgentReportEventParams*) { return 0; }
  virtual int FireSetRequest(SNMPAgentSetRequestEventParams*) { return 0; }
  virtual ~SNMPAgent();

  SNMPAgent(const SNMPAgent&) = delete;
  SNMPAgent& operator=(const SNMPAgent&) = delete;

  // True when the host has an SNMP component.
  [[nodiscard]] static bool IsAvailable();

  void SetNumber(int property, int index, int value);

  // A `length` of 0 stands for a text that ends with a zero byte.
  void SetText(int property, int index, const char* text, int length = 0);

  int GetNumber(int property);

  // Calls a method with texts as its parameters, and returns its result.
  int Do(int method, const char* first = nullptr, const char* second = nullptr);

  // Destroys the handle, once, and returns the component's result.
  int Destroy();

 private:
  void* handle_;
  int destroyed_ = 0;  // the result of Destroy
};

// Hands an event of the component to its SNMPAgent.
int SNMPAgentEventSink(void* wrapper, int eventId, int count, void** params, int* lengths);

}  // namespace wkagent

#endif  // WKAGENT_ALERT_SNMP_AGENT_SINK_H
