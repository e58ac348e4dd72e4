// What the check says about names is what the filter does with them: an event that the written name
// was meant for is not covered, and with the advice it is.

#include <string>

#include <wkagent/filter.h>

#include "agent/config_check_fixture.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;

struct Name {
  const char* title;
  const char* place;      // of the right file: an attribute with its value
  const char* attribute;  // as the advice has it
  const char* written;    // the value instead
  const char* advised;
  const char* user;
  const char* object;
};

void PrintTo(const Name& name, std::ostream* out) { *out << name.title; }

class NamesOfTheCheck : public ConfigCheckTest, public ::testing::WithParamInterface<Name> {
 protected:
  struct Result {
    bool covered;
    std::string said;
  };

  // What filter and check make of the file with this value in the name's place.
  Result Try(const std::string& value) {
    const std::string place = GetParam().place;
    const std::string name = place.substr(0, place.find('='));
    Write("EDAFilter.xml", Broken(kEdaFilter, place, name + "=\"" + value + "\""));
    char file[] = "EDAFilter.xml";
    WKEDAFilter filter(file);
    return {filter.PassFilter(20001, Text(GetParam().user), nullptr, Text(GetParam().object),
                              Text("person"), nullptr, nullptr),
            Check().err};
  }
};

TEST_P(NamesOfTheCheck, AreThoseOfTheFilter) {
  const Name& name = GetParam();
  const Result written = Try(name.written);
  EXPECT_FALSE(written.covered);
  EXPECT_THAT(written.said, HasSubstr(": error: "));
  EXPECT_THAT(written.said,
              HasSubstr(std::string("; write ") + name.attribute + "=\"" + name.advised));
  const Result advised = Try(name.advised);
  EXPECT_TRUE(advised.covered);
  EXPECT_EQ("", advised.said);
}

constexpr char kUser[] = "User Name=\"bob\"";
constexpr char kObject[] = "Object Name=\"bob\"";
constexpr char kContext[] = "Context=\"OU=sales,O=acme\"";
constexpr char kBob[] = "bob.sales.acme";

const Name kNames[] = {
    {"TypedWithDots", kUser, "Name", "CN=bob.OU=sales.O=acme", kBob, kBob, kBob},
    {"Escaped", kUser, "Name", "CN=Smith\\, Bob,OU=sales", "Smith, Bob.sales",
     "Smith, Bob.sales.acme", kBob},
    {"TwoValues", kUser, "Name", "CN=bob+UID=b1,O=acme", "bob+b1.acme", "bob+b1.acme", kBob},
    {"PartWithoutType", kUser, "Name", "CN=bob,sales,O=acme", kBob, kBob, kBob},
    {"ObjectWithContainer", kObject, "Name", "CN=bob,OU=sales,O=acme", "bob", kBob, kBob},
    {"DottedObjectWithContainer", kObject, "Name", kBob, "bob", kBob, kBob},
    {"ContextWithDots", kContext, "Context", "OU=sales.O=acme", "sales.acme", kBob, kBob},
    {"ContextWithADotBehind", kContext, "Context", "sales.acme.", "sales.acme", kBob, kBob},
    {"ContextWithADotBefore", kContext, "Context", ".sales.acme", "sales.acme", kBob, kBob},
    {"ContextWithABlank", kContext, "Context", " sales.acme", "sales.acme", kBob, kBob},
    {"ContextWithCommas", kContext, "Context", "sales,acme", "sales.acme", kBob, kBob},
    {"EscapedContext", kContext, "Context", "OU=sales\\, east,O=acme", "sales, east.acme", kBob,
     "bob.sales, east.acme"},
};

std::string NameOf(const ::testing::TestParamInfo<Name>& test) { return test.param.title; }

INSTANTIATE_TEST_SUITE_P(Names, NamesOfTheCheck, ::testing::ValuesIn(kNames), NameOf);

}  // namespace
}  // namespace wkagent::test
