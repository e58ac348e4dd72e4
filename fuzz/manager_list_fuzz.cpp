// The shared settings of the managing servers, then a zero byte and the list of their addresses.

#include <wkagent/config.h>

#include "core/printed_text.h"
#include "fuzz/xml_reader.h"

namespace wkagent::fuzz {
namespace {

std::string Describe(WKShareFolderSetting& server) {
  std::string text = server.IsPrimaryServer() ? "primary" : "secondary";
  for (const char* part :
       {server.GetMachineName(), server.GetMachineIpAddress(), server.GetPrimaryDomain(),
        server.GetPrimaryUser(), server.GetPrimaryUserPassword(), server.GetSecondaryDomain(),
        server.GetSecondaryUser(), server.GetSecondaryUserPassword(),
        server.GetShareFolderPath()}) {
    text.append("|").append(TextOrEmpty(part));
  }
  return text + '\n';
}

}  // namespace
}  // namespace wkagent::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  Parts parts(data, size);
  const std::string shared = parts.Next();
  WKConfigFile addresses;
  static MemoryFile file;
  file.Replace(parts.Rest());
  const bool hasAddresses = addresses.ReadFile(file.Path()) == 0;
  CheckReader<WKManagerList>(shared, [&](WKManagerList& list) {
    list.ReadSharedSettings(list.GetXMLRootNode());
    list.CreateNewNode();
    if (hasAddresses) list.ReadManagerList(addresses.GetXMLRootNode());
    std::string text = Describe(*list.GetPrimaryServer());
    CLinkList others;
    Require(list.GetSecondaryServers(others) == 1, "the list of servers was read to its end");
    WKShareFolderSetting* server = nullptr;
    others.SetHead();
    while (others.GetNode(&server, sizeof(server)) == 0) text += Describe(*server);
    return text;
  });
  return 0;
}
