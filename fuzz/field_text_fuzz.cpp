// Values of a directory on their way into the fields of an event.

#include "agent/field_text.h"

#include "agent/unicode.h"
#include "fuzz/fuzz.h"

namespace wkagent::fuzz {
namespace {

template <std::size_t kSize>
void CheckCopy(const std::string& text) {
  char field[kSize];
  SetField(field, text);
  const std::string copy = field;
  Require(copy.size() < kSize && test::IsXmlText(copy), "a copy fits and can stand in XML");
  const bool asItIs = test::IsXmlText(text);
  Require(!asItIs || text.starts_with(copy), "a text that XML can carry is only cut");
  Require(!asItIs || text.size() >= kSize || copy == text, "what fits is not cut");
  constexpr std::size_t kLongestCharacter = 4;
  Require(text.size() < kSize || copy.size() + kLongestCharacter >= kSize, "no room is wasted");
}

}  // namespace
}  // namespace wkagent::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent;
  using namespace wkagent::fuzz;
  const std::string text(reinterpret_cast<const char*>(data), size);
  CheckCopy<1>(text);
  CheckCopy<7>(text);
  CheckCopy<50>(text);
  CheckCopy<300>(text);
  const bool isText = test::DecodeUtf8(text).has_value() && text.find('\0') == std::string::npos;
  Require(IsBinary(text) == !isText, "what is no UTF-8 is binary");
  std::string encoded = EncodeBase64(text, 2 * size + 4);
  std::size_t length = encoded.size();
  Require(DecodeBase64(encoded.data(), length), "what was encoded can be decoded");
  Require(encoded.substr(0, length) == text, "base64 comes back");
  Require(EncodeBase64(text, 7) == EncodeBase64(text, 2 * size + 4).substr(0, 7),
          "the longest is the beginning");
  std::string decoded = text;
  length = size;
  if (DecodeBase64(decoded.data(), length)) {
    Require(length <= size / 4 * 3, "four characters give three bytes at most");
  }
  return 0;
}
