// WKMemorySettings.xml.

#include <cstring>

#include <wkagent/config.h>

#include "fuzz/xml_reader.h"

namespace wkagent::fuzz {
namespace {

std::string Describe(WKMemorySettings& settings) {
  settings.ReadMemorySettingsTags(settings.GetXMLRootNode());
  char version[sizeof(settings.smbVersion)];
  Require(settings.GetRequiredSMBVersion(version) == version, "the version is in the target");
  std::string text = version;
  Require(text.starts_with("vers=") && text.size() < sizeof(version), "the version is cut to fit");
  for (const int number : {settings.GeMaxNSSMemoryBlocks(), settings.GetNSSVigilThreadDelay(),
                           settings.GetNSSQueueThreadDelay(), settings.GetMaxEDIRMemoryBlocks(),
                           settings.GetEDIRLDAPThreadDelay(), settings.GetEDIRQueueThreadDelay(),
                           settings.GetDeduplicationInterval()}) {
    text.append(" ").append(std::to_string(number));
  }
  return text;
}

}  // namespace
}  // namespace wkagent::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  CheckReader<WKMemorySettings>({reinterpret_cast<const char*>(data), size}, Describe);
  return 0;
}
