#include <string>

#include <gtest/gtest.h>

#include <wkagent/core.h>

#include "support/counted_heap.h"

namespace wkagent::test {
namespace {

TEST(OwnedString, StartsUnset) {
  const OwnedString text;
  EXPECT_EQ(text.Get(), nullptr);
  EXPECT_EQ(static_cast<char*>(text), nullptr);
}

TEST(OwnedString, AssignCopiesTheText) {
  std::string source = "ops";
  OwnedString text;
  text.Assign(source.c_str());
  source = "dev";
  EXPECT_STREQ(text, "ops");
}

TEST(OwnedString, AnEmptyTextIsSet) {
  OwnedString text;
  text.Assign("");
  EXPECT_STREQ(text, "");
}

TEST(OwnedString, NullAndResetUnset) {
  OwnedString text;
  text.Assign("ops");
  text.Assign(nullptr);
  EXPECT_EQ(text.Get(), nullptr);
  text.Assign("ops");
  text.Reset();
  EXPECT_EQ(text.Get(), nullptr);
  text.Reset();
  EXPECT_EQ(text.Get(), nullptr);
}

TEST(OwnedString, AssignTakesItsOwnTextOrAPartOfIt) {
  OwnedString text;
  text.Assign("operators");
  text.Assign(text);
  EXPECT_STREQ(text, "operators");
  text.Assign(text.Get() + 4);
  EXPECT_STREQ(text, "ators");
}

TEST(OwnedString, EveryTextIsReleased) {
  const long before = LiveBlocks();
  {
    OwnedString text;
    for (const char* value : {"a", "", "longer than any small buffer would hold", "b"}) {
      text.Assign(value);
    }
  }
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
}

}  // namespace
}  // namespace wkagent::test
