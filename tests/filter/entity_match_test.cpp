#include "filter/entity_match.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_models.h"
#include "filter_support.h"

namespace wkagent::test {
namespace {

using std::string_literals::operator""s;

bool Occurs(std::string_view value, const std::vector<std::string>& entries) {
  CLinkList list;
  for (const std::string& entry : entries) AddBlock(list, entry);
  return EntityOccurs(value, list);
}

TEST(EntityMatch, EntryOccursAnywhereInTheValueWhateverTheCase) {
  EXPECT_TRUE(Occurs("Bob.Acme", {"bob"}));
  EXPECT_TRUE(Occurs("Bobby", {"bob"}));
  EXPECT_TRUE(Occurs("kaBOB", {"bob"}));
  EXPECT_TRUE(Occurs("bob", {"BOB"}));
  EXPECT_FALSE(Occurs("Robert", {"bob"}));
}

TEST(EntityMatch, ValueDoesNotOccurInALongerEntry) {
  EXPECT_FALSE(Occurs("bob", {"bob.acme"}));
  EXPECT_FALSE(Occurs("", {"bob"}));
}

TEST(EntityMatch, EmptyListMatchesNothing) {
  EXPECT_FALSE(Occurs("bob", {}));
  EXPECT_FALSE(Occurs("", {}));
}

TEST(EntityMatch, AnyEntryMayMatch) {
  EXPECT_TRUE(Occurs("carol", {"ann", "bob", "carol"}));
  EXPECT_FALSE(Occurs("dave", {"ann", "bob", "carol"}));
}

TEST(EntityMatch, ShortEntryIsFollowedByTheRestOfALongerOne) {
  EXPECT_FALSE(Occurs("bob", {"ADMIN.SALES", "BOB"}));
  EXPECT_TRUE(Occurs("BOBIN.SALES", {"ADMIN.SALES", "BOB"}));
  EXPECT_TRUE(Occurs("bob", {"BOB", "ADMIN.SALES"}));
}

TEST(EntityMatch, RestsOfSeveralEarlierEntriesAddUp) {
  // What the buffer holds after each entry: abcdef, xycdef, zycdef.
  EXPECT_TRUE(Occurs("zycdef", {"abcdef", "xy", "z"}));
  EXPECT_FALSE(Occurs("zbcdef", {"abcdef", "xy", "z"}));
  EXPECT_FALSE(Occurs("z", {"abcdef", "xy", "z"}));
}

TEST(EntityMatch, LongerEntryLeavesNoRest) { EXPECT_TRUE(Occurs("barbara", {"bob", "barbara"})); }

TEST(EntityMatch, EachSearchBeginsWithACleanBuffer) {
  CLinkList list;
  AddBlock(list, "administrator");
  EXPECT_FALSE(EntityOccurs("bob", list));
  list.ClearList();
  AddBlock(list, "bob");
  EXPECT_TRUE(EntityOccurs("bob", list));
}

TEST(EntityMatch, EmptyFirstEntryMatchesEverything) {
  EXPECT_TRUE(Occurs("bob", {""}));
  EXPECT_TRUE(Occurs("", {""}));
  EXPECT_TRUE(Occurs("bob", {"", "ann"}));
}

TEST(EntityMatch, LaterEmptyEntryRepeatsTheBuffer) {
  EXPECT_FALSE(Occurs("bob", {"ann", ""}));
  EXPECT_FALSE(Occurs("", {"ann", ""}));
}

TEST(EntityMatch, EntryEndsAtAnEmbeddedZeroByte) {
  EXPECT_TRUE(Occurs("bobby", {"bob\0xyz"s}));
  EXPECT_TRUE(Occurs("anything", {"\0xyz"s}));
  EXPECT_FALSE(Occurs("xyz", {"bob\0xyz"s}));
}

TEST(EntityMatch, ZeroByteOfAnEarlierEntryEndsALaterOne) {
  EXPECT_TRUE(Occurs("zzzz", {"abc\0def"s, "zzz"}));
  // The rest behind the zero byte shows once the zero byte is overwritten.
  EXPECT_TRUE(Occurs("zzzzdef", {"abc\0def"s, "zzzz"}));
  EXPECT_FALSE(Occurs("zzzz", {"abc\0def"s, "zzzz"}));
}

TEST(EntityMatch, EntriesUpTo300BytesAreRead) {
  for (const int length : {299, 300}) {
    const std::string entry(static_cast<std::size_t>(length), 'n');
    EXPECT_TRUE(Occurs(entry, {entry})) << length;
    EXPECT_TRUE(Occurs("x" + entry + "x", {entry})) << length;
    EXPECT_FALSE(Occurs(entry.substr(1), {entry})) << length;
  }
}

TEST(EntityMatch, EntryOf301BytesEndsTheSearch) {
  const std::string entry(301, 'n');
  EXPECT_FALSE(Occurs(entry, {entry}));
  EXPECT_FALSE(Occurs("bob", {entry, "bob"}));
  EXPECT_TRUE(Occurs("bob", {"bob", entry}));
}

TEST(EntityMatch, ShortEntryAfter300BytesFillsTheWholeBuffer) {
  const std::string entry(300, 'n');
  EXPECT_FALSE(Occurs("bob", {entry, "bob"}));
  EXPECT_TRUE(Occurs("bob" + entry.substr(3), {entry, "bob"}));
}

TEST(EntityMatch, ValueMayBeLongerThanTheBuffer) {
  const std::string value = std::string(5000, 'v') + "bob";
  EXPECT_TRUE(Occurs(value, {"BOB"}));
  EXPECT_FALSE(Occurs(value, {"ann"}));
}

TEST(EntityMatch, HighBytesAreComparedAsTheyStand) {
  EXPECT_TRUE(Occurs("J\xc3\xbcrgen", {"j\xc3\xbcrG"}));
  EXPECT_FALSE(Occurs("J\xc3\x9crgen", {"j\xc3\xbcrg"}));
  EXPECT_TRUE(Occurs("\xff\xfe", {"\xfe"}));
  EXPECT_FALSE(Occurs("\xff\xfe", {"\xfd"}));
}

TEST(EntityMatch, LettersAloneHaveACase) {
  EXPECT_FALSE(Occurs("[", {"{"}));
  EXPECT_FALSE(Occurs("@", {"`"}));
  EXPECT_TRUE(Occurs("azAZ", {"AZaz"}));
}

TEST(EntityMatch, ValueNeedNotBeTerminated) {
  const std::string name = "jsmith.sales.acme";
  EXPECT_TRUE(Occurs(std::string_view(name).substr(0, 6), {"smith"}));
  EXPECT_FALSE(Occurs(std::string_view(name).substr(0, 6), {"sales"}));
}

TEST(EntityMatch, SearchBeginsAtTheHeadWhereverTheCursorStands) {
  CLinkList list;
  AddBlock(list, "ann");
  AddBlock(list, "bob");
  ASSERT_FALSE(EntityOccurs("nobody", list));
  EXPECT_TRUE(list.IsEndOfList());
  EXPECT_TRUE(EntityOccurs("ann", list));
  list.SetTail();
  EXPECT_TRUE(EntityOccurs("ann", list));
}

// Random entries of few different characters, so that they meet; seldom one at the buffer's edge.
std::string RandomEntry(Random& random) {
  if (random.OneIn(40)) return random.Word("ab", 299 + random.Below(3));
  return random.Word(std::string_view("aAbB.\xe4\0", 7), random.Below(6));
}

TEST(EntityMatch, AgreesWithTheModelOnRandomLists) {
  Random random;
  WKFilterStatement statement;
  int matches = 0;
  for (int round = 0; round < 100000; ++round) {
    std::vector<std::string> entries(static_cast<std::size_t>(random.Below(6)));
    CLinkList list;
    for (std::string& entry : entries) AddBlock(list, entry = RandomEntry(random));
    const std::string value = random.Word("aAbB.\xe4\xc4", random.Below(14));
    const bool expected = NaiveEntityMatch(value, entries);
    ASSERT_EQ(expected, statement.EntityMatch(Text(value), list))
        << "round " << round << ", value " << value << ", entries "
        << ::testing::PrintToString(entries);
    matches += expected ? 1 : 0;
  }
  EXPECT_GT(matches, 10000);
  EXPECT_LT(matches, 90000);
}

}  // namespace
}  // namespace wkagent::test
