// A spool file of text lines. The first byte tells which of the lines the receiver takes; the
// others must stay.

#include <wkagent/alert.h>

#include "alert/spool_file.h"
#include "fuzz/fuzz.h"
#include "support/agent_home.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  if (size < 2) return 0;
  static const wkagent::test::AgentHome home;
  constexpr char kName[] = "tmp/SysLog.20260101000000.txt";
  // Without zero bytes, which no line of a spool holds.
  const std::string text = Parts(data + 1, size - 1).Next();
  // A line that is never taken: removing a file that is done takes a program, and long.
  home.Write(kName, "stays\n" + text);
  WKSysLog owner;
  std::string all;
  std::string kept;
  unsigned pattern = data[0];
  const auto send = [&] {
    const std::string line = owner.message;
    Require(line.size() < sizeof(owner.message), "a line ends in its field");
    const bool taken = !all.empty() && (pattern & 1U) != 0;
    pattern = pattern >> 1U | (pattern & 1U) << 7U;
    all += line;
    if (!taken) kept += line;
    return taken;
  };
  Require(wkagent::ReplayLines(owner, home.Path(kName).c_str(), {.keep = true}, send) == 0,
          "what is left can be kept");
  Require(all == "stays\n" + text, "every line is offered once, in its order");
  Require(home.Read(kName) == kept, "what was not taken stays, and nothing else");
  return 0;
}
