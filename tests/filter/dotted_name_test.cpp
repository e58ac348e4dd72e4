#include "filter/dotted_name.h"

#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "filter_models.h"

namespace wkagent::test {
namespace {

// What ConvertTypedName makes of `name`, which lies in a block of exactly its size: the converted
// text, or nothing where it returns null. A null result must leave the name as it was.
std::optional<std::string> Convert(const std::string& name, char separator = ',') {
  const auto block = std::make_unique<char[]>(name.size() + 1);
  std::memcpy(block.get(), name.c_str(), name.size() + 1);
  char* const result = ConvertTypedName(block.get(), separator);
  if (result == nullptr) {
    EXPECT_EQ(name, block.get());
    return std::nullopt;
  }
  EXPECT_EQ(block.get(), result);
  return result;
}

std::string Letters(std::size_t count) {
  std::string letters;
  for (std::size_t index = 0; index < count; ++index) {
    letters += static_cast<char>('a' + index % 26);
  }
  return letters;
}

TEST(DottedName, TypedNameInCommaFormBecomesDotted) {
  EXPECT_EQ("admin.sales.acme", Convert("CN=admin,OU=sales,O=acme"));
}

TEST(DottedName, SingleComponentLosesItsType) { EXPECT_EQ("admin", Convert("CN=admin")); }

TEST(DottedName, NameWithoutEqualsSignIsLeftAlone) {
  for (const char* name : {"admin", "", ",", "admin.sales.acme", "a,b,c"}) {
    EXPECT_EQ(std::nullopt, Convert(name)) << name;
  }
}

TEST(DottedName, ComponentWithoutEqualsSignIsDropped) {
  EXPECT_EQ("a.c", Convert("CN=a,b,O=c"));
  EXPECT_EQ("c", Convert("a,b,O=c"));
  EXPECT_EQ("a", Convert("CN=a,b,c"));
}

TEST(DottedName, NullGivesNull) {
  EXPECT_EQ(nullptr, ConvertTypedName(nullptr, ','));
  EXPECT_EQ(nullptr, ConvertTypedName(nullptr, '.'));
}

TEST(DottedName, TypedDottedNameSplitsAtDots) {
  EXPECT_EQ("admin.sales.acme", Convert("CN=admin.OU=sales.O=acme", '.'));
  EXPECT_EQ("a.c", Convert("CN=a.b.O=c", '.'));
}

TEST(DottedName, EachFormKeepsTheOthersSeparator) {
  EXPECT_EQ("admin.OU=sales", Convert("CN=admin.OU=sales"));
  EXPECT_EQ("admin,OU=sales", Convert("CN=admin,OU=sales", '.'));
}

TEST(DottedName, EmptyComponentsKeepTheirPlace) {
  EXPECT_EQ("", Convert("CN="));
  EXPECT_EQ("", Convert("="));
  EXPECT_EQ(".acme", Convert("CN=,O=acme"));
  EXPECT_EQ("admin.", Convert("CN=admin,O="));
  EXPECT_EQ("a..c", Convert("CN=a,OU=,O=c"));
  EXPECT_EQ("..", Convert("=,=,="));
}

TEST(DottedName, OnlyTheFirstEqualsSignOfAComponentSeparates) {
  EXPECT_EQ("a=b.c=", Convert("CN=a=b,O=c="));
}

TEST(DottedName, TrailingSeparatorAddsNothing) {
  EXPECT_EQ("admin", Convert("CN=admin,"));
  EXPECT_EQ("admin", Convert("CN=admin,,,"));
}

TEST(DottedName, BlanksAndHighBytesAreKept) {
  EXPECT_EQ(" J\xc3\xbcrgen .\xff", Convert("CN= J\xc3\xbcrgen , O=\xff"));
}

TEST(DottedName, SecondConversionFindsNothingToDo) {
  std::string name = "CN=admin,O=acme";
  ASSERT_NE(nullptr, ConvertTypedName(name.data(), ','));
  EXPECT_EQ(nullptr, ConvertTypedName(name.data(), ','));
  EXPECT_STREQ("admin.acme", name.c_str());
}

TEST(DottedName, ResultsFrom253To300BytesAreCutAt254) {
  for (std::size_t length = 253; length <= 300; ++length) {
    const std::string value = Letters(length);
    EXPECT_EQ(value.substr(0, 254), Convert("CN=" + value)) << length;
    EXPECT_EQ(("top." + value).substr(0, 254), Convert("CN=top,OU=" + value)) << length;
    EXPECT_EQ((value + ".end").substr(0, 254), Convert("CN=" + value + ",O=end")) << length;
  }
}

TEST(DottedName, NameFarBeyondTheLimitIsCut) {
  std::string typed;
  std::string dotted;
  for (int part = 0; part < 1000; ++part) {
    typed += (part == 0 ? "OU=part" : ",OU=part") + std::to_string(part);
    dotted += (part == 0 ? "part" : ".part") + std::to_string(part);
  }
  EXPECT_EQ(dotted.substr(0, 254), Convert(typed));
}

class DottedNameModel : public ::testing::TestWithParam<char> {};

// Every text of up to seven characters over a letter, the equals sign and both separators.
TEST_P(DottedNameModel, AgreesOnAllShortTexts) {
  constexpr char kAlphabet[] = {'a', '=', ',', '.'};
  for (int length = 0; length <= 7; ++length) {
    for (int code = 0; code < 1 << (2 * length); ++code) {
      std::string name;
      for (int place = 0; place < length; ++place) name += kAlphabet[code >> (2 * place) & 3];
      ASSERT_EQ(NaiveDottedName(name, GetParam()), Convert(name, GetParam())) << name;
    }
  }
}

TEST_P(DottedNameModel, AgreesOnRandomLongTexts) {
  Random random;
  for (int round = 0; round < 20000; ++round) {
    const std::string name = random.Word("abcdefghijklmno=,.", random.Below(400));
    ASSERT_EQ(NaiveDottedName(name, GetParam()), Convert(name, GetParam())) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(Separators, DottedNameModel, ::testing::Values(',', '.'),
                         [](const auto& instance) {
                           return instance.param == ',' ? "Comma" : "Dot";
                         });

}  // namespace
}  // namespace wkagent::test
