// LDIF. The first byte is the size of the blocks that the rest is also taken in.

#include "agent/ldif_reader.h"

#include <algorithm>

#include "agent/secret_attributes.h"
#include "fuzz/fuzz.h"

namespace wkagent::fuzz {
namespace {

class Recorder : public LdifHandler {
 public:
  void OnRecord(const LdifRecord& record) override {
    Require(!record.lines.empty(), "a record has lines");
    found.append("record ").append(record.header).append("\n");
    long last = 0;
    for (const LdifLine& line : record.lines) {
      Require(line.number > last, "lines come in their order");
      Require(!IsSecretAttribute(line.name) || line.value.empty(), "no password is kept");
      last = line.number;
      found.append(std::to_string(last)).append(line.name).append("=").append(line.value);
    }
  }

  void OnMalformed(long line, std::string_view reason) override {
    Require(line > 0, "what is refused has a line");
    found.append(std::to_string(line)).append(reason);
  }

  std::string found;
};

std::string Read(std::string_view input, std::size_t size) {
  Recorder recorder;
  LdifReader reader(recorder);
  for (; !input.empty(); input.remove_prefix(std::min(size, input.size()))) {
    reader.Take(input.substr(0, size));
  }
  reader.Finish();
  return recorder.found;
}

}  // namespace
}  // namespace wkagent::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  if (size == 0) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
  Require(Read(input, size) == Read(input, data[0] % 64U + 1U),
          "what is found does not depend on how the input is cut");
  return 0;
}
