// The settings of the SNMP alert, a zero byte, a spool file of traps, which the component refuses.

#include <wkagent/alert.h>
#include <wkagent/crypto.h>

#include "fuzz/fuzz.h"
#include "support/agent_home.h"
#include "support/fake_components.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  Parts parts(data, size);
  static const wkagent::test::AgentHome home;
  constexpr char kName[] = "tmp/SNMP.20260101000000.txt";
  const std::string settings = parts.Next();
  CRijndael cipher;
  home.Write("config/SNMPSettings.cfg", cipher.EncryptSettings(settings, ""));
  // A first line that is never empty: removing a file that is done takes a program, and long.
  const std::string spool = "stays\n" + parts.Next();
  home.Write(kName, spool);
  wkagent::test::FakeComponents components;
  wkagent::test::FakeComponents::doResult = 1;
  WKSNMPAlert trap;
  trap.SetSafeReplay(true);
  Require(trap.Deserialize(home.Path(kName).data()) == 0, "what is left can be kept");
  Require(home.Read(kName) == spool, "traps that were refused stay as they were");
  for (const auto* field : {&trap.enterpriseOid, &trap.trapDescriptionId}) {
    Require(std::string_view(*field).size() < sizeof(*field), "a setting ends in its field");
  }
  Require(!home.Exists("config/SNMPSettings.xml"), "the plain settings are gone");
  Require(wkagent::test::FakeComponents::Alive() == 0, "each component is destroyed");
  return 0;
}
