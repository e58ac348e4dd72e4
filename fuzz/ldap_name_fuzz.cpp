// Two LDAP names with a zero byte between them. A blank behind a comma at the end is no name's.

#include "agent/distinguished_name.h"
#include "fuzz/fuzz.h"

namespace {

std::string WithoutBlankEnd(std::string name) {
  name.erase(name.find_last_not_of(' ') + 1);
  return name;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent;
  using namespace wkagent::fuzz;
  Parts parts(data, size);
  const std::string left = WithoutBlankEnd(parts.Next());
  const std::string right = WithoutBlankEnd(parts.Next());
  Require(DottedName(left).size() <= left.size(), "a dotted name is no longer than the name");
  Require(SameName(left, left) && IsAtOrBelow(left, left), "a name is the same as itself");
  const bool same = SameName(left, right);
  Require(same == SameName(right, left), "two names are the same, whichever comes first");
  Require(same == (IsAtOrBelow(left, right) && IsAtOrBelow(right, left)),
          "names that lie at or below each other are the same");
  Require(IsAtOrBelow(left, ParentName(left)), "a name lies below its parent");
  const std::string child = "cn=x," + right;
  Require(SameName(ParentName(child), right), "the parent is what stands behind the first comma");
  Require(IsAtOrBelow(child, right), "a child lies below its parent");
  Require(DottedName("cn=x\\ ," + right).starts_with("x "), "an escaped blank belongs to a value");
  Require(DottedName(child) == (right.empty() ? "x" : "x." + DottedName(right)),
          "values are joined by dots");
  return 0;
}
