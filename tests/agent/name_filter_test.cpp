#include "agent/name_filter.h"

#include <string>

#include <gtest/gtest.h>

namespace wkagent::test {
namespace {

NameFilter FilterOf(std::initializer_list<std::string_view> names) {
  NameFilter filter;
  for (const std::string_view name : names) filter.Add(name);
  return filter;
}

TEST(NameFilter, LetsItsNamesPassWhateverTheirCase) {
  const NameFilter filter = FilterOf({"member", "2.5.4.35", "olcTLSCertificateKey"});
  for (const char* const name :
       {"member", "MEMBER", "Member", "2.5.4.35", "olcTLSCertificateKey", "OLCTLSCERTIFICATEKEY"}) {
    EXPECT_TRUE(filter.MayBeName(name)) << name;
  }
}

TEST(NameFilter, StopsOtherSizesAndFirstLetters) {
  const NameFilter filter = FilterOf({"member"});
  for (const char* const name : {"", "m", "membe", "members", "nember", "_ember"}) {
    EXPECT_FALSE(filter.MayBeName(name)) << name;
  }
}

TEST(NameFilter, LetsLongNamesPass) {
  const std::string name(40, 'x');
  const NameFilter filter = FilterOf({name});
  EXPECT_TRUE(filter.MayBeName(name));
  EXPECT_FALSE(filter.MayBeName(std::string(30, 'x')));
  EXPECT_FALSE(filter.MayBeName(std::string(40, 'y')));
}

}  // namespace
}  // namespace wkagent::test
