#include <algorithm>
#include <cstring>
#include <iterator>

#include <wkagent/alert.h>

#include "alert/current_object.h"
#include "alert/encrypted_settings.h"
#include "alert/snmp_agent_sink.h"
#include "alert/spool_file.h"
#include "config/xml_library.h"
#include "config/xml_walk.h"
#include "core/bounded_copy.h"

WKSNMPAlert* WKSNMPAlert::SNMPAlertPtr = nullptr;

namespace {

constexpr char kKind[] = "SNMP";
constexpr char kEncrypted[] = "../config/SNMPSettings.cfg";
constexpr char kPlain[] = "../config/SNMPSettings.xml";

// The component's numbers.
constexpr int kBegin = 8;
constexpr int kSendTrap = 12;
constexpr int kAgentMode = 12;  // a setting of the component
constexpr int kVariableCount = 6;
constexpr int kIdentity = 3;
constexpr int kAgentSetting = 2;
constexpr int kType = 7;
constexpr int kOid = 8;
constexpr int kValue = 10;
constexpr int kUpTime = 13;

// BER tags of SNMP values.
constexpr int kTimeTicks = 0x43;
constexpr int kObjectIdentifier = 0x06;
constexpr int kOctetString = 0x04;

wkagent::CurrentObject<WKSNMPAlert>& Current() {
  static wkagent::CurrentObject<WKSNMPAlert> current(WKSNMPAlert::SNMPAlertPtr);
  return current;
}

int Length(const char* text) { return static_cast<int>(std::strlen(text)); }

}  // namespace

WKSNMPAlert::WKSNMPAlert() : consoleMachineName{}, enterpriseOid{}, trapDescriptionId{} {
  Current().Enter(this);
}

WKSNMPAlert::~WKSNMPAlert() { Current().Leave(this); }

void WKSNMPAlert::SetMessage(char* text) { wkagent::ReplaceMessage(*this, text); }

int WKSNMPAlert::SendMessage() {
  sent_ = false;
  if (!wkagent::SNMPAgent::IsAvailable()) {
    wkagent::CopyBounded(statusText, "SNMP component not available");
    LogStatus(statusText);
    return 1;
  }
  wkagent::SNMPAgent agent;
  if (message[0] == '\0') return agent.Destroy();
  {
    const wkagent::DecryptedSettings settings(*this, kEncrypted, kPlain);
    ReadConfigFile();
  }
  agent.Do(kBegin);
  agent.SetNumber(kAgentMode, 0, 2);
  agent.SetNumber(kVariableCount, 0, 3);
  agent.SetText(kIdentity, 0, "WK Agent", 8);
  agent.SetNumber(kAgentSetting, 0, 1);
  agent.SetNumber(kType, 0, kTimeTicks);
  agent.SetText(kOid, 0, "1.3.6.1.2.1.1.3.0");
  char upTime[10];
  wkagent::FormatBounded(upTime, "%d", agent.GetNumber(kUpTime));
  agent.SetText(kValue, 0, upTime, Length(upTime));
  agent.SetNumber(kType, 1, kObjectIdentifier);
  agent.SetText(kOid, 1, "1.3.6.1.6.3.1.1.4.1.0");
  agent.SetText(kValue, 1, trapDescriptionId, Length(trapDescriptionId));
  agent.SetNumber(kType, 2, kOctetString);
  agent.SetText(kOid, 2, enterpriseOid);
  agent.SetText(kValue, 2, message, Length(message));
  sent_ = agent.Do(kSendTrap, consoleMachineName, trapDescriptionId) == 0;
  return agent.Destroy();
}

void WKSNMPAlert::Serialize() { wkagent::SpoolLine(*this, kKind); }

int WKSNMPAlert::Deserialize(char* path) {
  return wkagent::ReplayLines(*this, path, {.keep = safeReplay_}, [this] {
    SendMessage();
    return sent_;
  });
}

int WKSNMPAlert::Replay(char* path, const std::atomic<bool>& stop) {
  return wkagent::ReplayLines(*this, path, {.keep = true, .stop = &stop}, [this] {
    SendMessage();
    return sent_;
  });
}

void WKSNMPAlert::ReadConfigFile() {
  wkagent::ReadSettings(*this, kPlain, [this](xmlNode* root) { traverseXMLTree(root); });
}

void WKSNMPAlert::traverseXMLTree(_xmlNode* node) {
  wkagent::WalkElements(node, [this](xmlNode* element) {
    const auto take = [element](const char* name, auto& field) {
      if (!wkagent::HasName(element, name)) return;
      wkagent::CopyBounded(field, wkagent::ContentOf(element).get());
    };
    take("SNMPConsoleMachineName", consoleMachineName);
    take("SNMPEOI", enterpriseOid);
    take("TrapDescID", trapDescriptionId);
  });
}

void WKSNMPAlert::SNMPAlertAvailable(const char* name) {
  wkagent::ReplayThrough(Current().Get(), name);
}

void WKSNMPAlert::SetSafeReplay(bool on) { safeReplay_ = on; }

bool WKSNMPAlert::WasSent() { return sent_; }
