// Typed names of filter files: the conversion in place and the naive one.

#include "filter/dotted_name.h"

#include "filter/filter_models.h"
#include "fuzz/fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  const std::string name = Parts(data, size).Next();
  for (const char separator : {',', '.'}) {
    std::string converted = name;
    const char* const result = wkagent::ConvertTypedName(converted.data(), separator);
    const auto naive = wkagent::test::NaiveDottedName(name, separator);
    Require((result != nullptr) == naive.has_value(), "names with = are converted");
    Require(naive ? *naive == result : converted == name, "the parts are those of the naive way");
  }
  return 0;
}
