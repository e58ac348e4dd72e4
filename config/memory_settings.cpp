#include <cstdio>
#include <cstring>

#include <wkagent/config.h>

#include "config/xml_values.h"
#include "config/xml_walk.h"
#include "core/bounded_copy.h"
#include "core/printed_text.h"

namespace {

struct NumberElement {
  const char* name;
  int WKMemorySettings::*member;
};

constexpr NumberElement kNumbers[] = {
    {"MaxNSSMemoryBlocks", &WKMemorySettings::maxNSSMemoryBlocks},
    {"NSSVigilThreadDelay", &WKMemorySettings::nssVigilThreadDelay},
    {"NSSQueueThreadDelay", &WKMemorySettings::nssQueueThreadDelay},
    {"MaxEDIRMemoryBlocks", &WKMemorySettings::maxEDIRMemoryBlocks},
    {"EDIRVigilThreadDelay", &WKMemorySettings::edirVigilThreadDelay},
    {"EDIRQueueThreadDelay", &WKMemorySettings::edirQueueThreadDelay},
    {"DeduplicationInterval", &WKMemorySettings::deduplicationInterval},
};

constexpr int kBlocks = 5000;
constexpr int kDelay = 200;
constexpr int kInterval = 10;

}  // namespace

WKMemorySettings::WKMemorySettings()
    : maxNSSMemoryBlocks(kBlocks),
      nssVigilThreadDelay(kDelay),
      nssQueueThreadDelay(kDelay),
      maxEDIRMemoryBlocks(kBlocks),
      edirVigilThreadDelay(kDelay),
      edirQueueThreadDelay(kDelay),
      smbVersion{"vers=2.0"},
      deduplicationInterval(kInterval) {}

WKMemorySettings::~WKMemorySettings() = default;

int WKMemorySettings::Read() {
  char path[] = "../config/WKMemorySettings.xml";
  if (ReadFile(path) != 0) {
    std::fprintf(stderr, "Unable to read file %s\n", path);
    return 1;
  }
  ReadMemorySettingsTags(GetXMLRootNode());
  return 0;
}

void WKMemorySettings::ReadMemorySettingsTags(_xmlNode* node) {
  wkagent::WalkElements(node, [this](_xmlNode* element) {
    for (const NumberElement& entry : kNumbers) {
      if (!wkagent::HasName(element, entry.name)) continue;
      this->*entry.member = wkagent::ToInt(GetNodeContent(element));
    }
    if (wkagent::HasName(element, "SMBVersion")) {
      wkagent::FormatBounded(smbVersion, "vers=%s", wkagent::TextOrEmpty(GetNodeContent(element)));
    }
  });
}

int WKMemorySettings::GeMaxNSSMemoryBlocks() { return maxNSSMemoryBlocks; }
int WKMemorySettings::GetNSSVigilThreadDelay() { return nssVigilThreadDelay; }
int WKMemorySettings::GetNSSQueueThreadDelay() { return nssQueueThreadDelay; }
int WKMemorySettings::GetMaxEDIRMemoryBlocks() { return maxEDIRMemoryBlocks; }
int WKMemorySettings::GetEDIRLDAPThreadDelay() { return edirVigilThreadDelay; }
int WKMemorySettings::GetEDIRQueueThreadDelay() { return edirQueueThreadDelay; }
int WKMemorySettings::GetDeduplicationInterval() { return deduplicationInterval; }

char* WKMemorySettings::GetRequiredSMBVersion(char* target) {
  if (target == nullptr) return nullptr;
  std::memcpy(target, smbVersion, std::strlen(smbVersion) + 1);
  return target;
}

void WKMemorySettings::Print() {
  std::printf("Memory Settings Value: \n");
  std::printf("Max NSS Memory: %d, NSS Thread Delay: %d, NSS Queue Thread Delay: %d\n",
              maxNSSMemoryBlocks, nssVigilThreadDelay, nssQueueThreadDelay);
  std::printf("Max EDIR Memory: %d, EDIR Thread Delay: %d, EDIR Queue Thread Delay: %d\n",
              maxEDIRMemoryBlocks, edirVigilThreadDelay, edirQueueThreadDelay);
}
