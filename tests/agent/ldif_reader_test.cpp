#include "agent/ldif_reader.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::string_literals;

struct Record {
  std::string header;
  std::vector<std::string> lines;  // "name: value"
  std::vector<long> numbers;
};

class LdifReaderTest : public ::testing::Test, private LdifHandler {
 protected:
  // Reads a text to its end; the records and complaints of earlier texts are forgotten.
  void Read(const std::string& text) {
    records_.clear();
    malformed_.clear();
    reader_.Take(text);
    reader_.Finish();
  }

  // The lines of the only record of a text.
  [[nodiscard]] std::vector<std::string> Lines(const std::string& text) {
    Read(text);
    EXPECT_THAT(malformed_, IsEmpty());
    return records_.size() == 1
               ? records_[0].lines
               : std::vector<std::string>{"not one record but", std::to_string(records_.size())};
  }

  // What the line "cn" + `rest` of an otherwise good record gives; "malformed" where it is that.
  [[nodiscard]] std::string Value(const std::string& rest) {
    Read("dn: o=acme\ncn" + rest + "\n\n");
    if (!malformed_.empty()) return "malformed";
    return records_.at(0).lines.at(1).substr(std::string("cn: ").size());
  }

  std::vector<Record> records_;
  std::vector<long> malformed_;
  LdifReader reader_{*this};

 private:
  void OnRecord(const LdifRecord& record) override {
    records_.push_back({std::string(record.header), {}, {}});
    for (const LdifLine& line : record.lines) {
      records_.back().lines.push_back(std::string(line.name) + ": " + std::string(line.value));
      records_.back().numbers.push_back(line.number);
    }
  }
  void OnMalformed(long line, std::string_view reason) override {
    EXPECT_FALSE(reason.empty());
    malformed_.push_back(line);
  }
};

TEST_F(LdifReaderTest, ReadsNamesAndValues) {
  EXPECT_THAT(Lines("dn: cn=bob,o=acme\nchangetype: add\ncn: bob\n\n"),
              ElementsAre("dn: cn=bob,o=acme", "changetype: add", "cn: bob"));
}

TEST_F(LdifReaderTest, NumbersLinesWhereTheyBegin) {
  Read("\ndn: cn=bob,\n o=acme\n# a comment\ncn:: Ym9\n i\n\ndn: o=acme\n\n");
  ASSERT_THAT(records_, SizeIs(2));
  EXPECT_THAT(records_[0].numbers, ElementsAre(2, 5));
  EXPECT_THAT(records_[1].numbers, ElementsAre(8));
}

TEST_F(LdifReaderTest, RecordsEndAtABlankLine) {
  Read("dn: cn=a\n\ndn: cn=b\n\n\n\ndn: cn=c\n");
  EXPECT_THAT(records_, SizeIs(3));
  EXPECT_THAT(malformed_, IsEmpty());
}

TEST_F(LdifReaderTest, RecordsEndAtTheirEndMark) {
  Read("# add 1 o=acme\ndn: cn=a\n# end add 1\n# delete 2 o=acme\ndn: cn=b\n# end delete 2\n");
  ASSERT_THAT(records_, SizeIs(2));
  EXPECT_EQ("add 1 o=acme", records_[0].header);
  EXPECT_EQ("delete 2 o=acme", records_[1].header);
  EXPECT_THAT(malformed_, IsEmpty());
}

TEST_F(LdifReaderTest, HandsARecordOverAtItsEndMark) {
  reader_.Take("# add 1 o=acme\ndn: cn=a\n# end add 1");
  EXPECT_THAT(records_, IsEmpty());
  reader_.Take("\n");
  EXPECT_THAT(records_, SizeIs(1));
}

TEST_F(LdifReaderTest, AHeaderBelongsToOneRecord) {
  Read("# add 1 o=acme\ndn: cn=a\n# end add 1\n\ndn: cn=b\n\n");
  ASSERT_THAT(records_, SizeIs(2));
  EXPECT_EQ("", records_[1].header);
}

TEST_F(LdifReaderTest, BlankLinesMayFollowAHeader) {
  Read("# add 1 o=acme\n\n\ndn: cn=a\n# end add 1\n");
  ASSERT_THAT(records_, SizeIs(1));
  EXPECT_EQ("add 1 o=acme", records_[0].header);
}

TEST_F(LdifReaderTest, KnowsTheHeadersOfAllChanges) {
  for (const std::string change : {"add", "delete", "modify", "modrdn", "moddn"}) {
    Read("# " + change + " 1 o=acme\ndn: cn=a\n# end " + change + " 1\n");
    ASSERT_THAT(records_, SizeIs(1)) << change;
    EXPECT_EQ(change + " 1 o=acme", records_[0].header);
  }
}

TEST_F(LdifReaderTest, OtherCommentsAreIgnored) {
  for (const char* const comment :
       {"#", "# ", "# add", "# add ", "# add x", "# added 1", "# realdn: cn=admin", "# end",
        "# end add", "# end of file 1", "#add", "## add 1", "# dn: o=other"}) {
    EXPECT_THAT(Lines(comment + "\ndn: cn=a\n"s + comment + "\ncn: a\n" + comment + "\n\n"),
                ElementsAre("dn: cn=a", "cn: a"))
        << comment;
    EXPECT_EQ("", records_[0].header) << comment;
  }
}

TEST_F(LdifReaderTest, UnfoldsValues) {
  EXPECT_THAT(Lines("dn: cn=b\n ob,o=a\n c\n me\ncn: two\n  words\nsn:\n  s\n\n"),
              ElementsAre("dn: cn=bob,o=acme", "cn: two words", "sn: s"));
}

TEST_F(LdifReaderTest, UnfoldsNames) {
  EXPECT_THAT(Lines("dn\n : o=acme\ndescri\n ption: x\n\n"),
              ElementsAre("dn: o=acme", "description: x"));
}

TEST_F(LdifReaderTest, UnfoldsBase64) {
  EXPECT_THAT(Lines("dn:: bz\n 1hY21\n l\ncn:\n : Y\n m\n 9i\n\n"),
              ElementsAre("dn: o=acme", "cn: bob"));
}

TEST_F(LdifReaderTest, UnfoldsBetweenTheBytesOfACharacter) {
  EXPECT_THAT(Lines("dn: o=acme\ncn: J\xC3\n \xBCrgen\n\n"),
              ElementsAre("dn: o=acme", "cn: J\u00FCrgen"));
}

TEST_F(LdifReaderTest, UnfoldsComments) {
  EXPECT_THAT(Lines("# a comm\n ent\n  and: more\ndn: o=acme\n# another\n sn: no\ncn: a\n\n"),
              ElementsAre("dn: o=acme", "cn: a"));
}

TEST_F(LdifReaderTest, UnfoldsHeaders) {
  Read("# add 1 o=acme cn=ad\n min,o=acme IP=127.0.0.1:1\n  conn=1\ndn: cn=a\n# end add 1\n");
  ASSERT_THAT(records_, SizeIs(1));
  EXPECT_EQ("add 1 o=acme cn=admin,o=acme IP=127.0.0.1:1 conn=1", records_[0].header);
}

TEST_F(LdifReaderTest, ReadsCrLf) {
  Read("# add 1 o=acme\r\ndn: cn=b\r\n ob\r\ncn:: Ym9i\r\n-\r\n# end add 1\r\n\r\n");
  ASSERT_THAT(records_, SizeIs(1));
  EXPECT_THAT(records_[0].lines, ElementsAre("dn: cn=bob", "cn: bob", "-: "));
  EXPECT_EQ("add 1 o=acme", records_[0].header);
  EXPECT_THAT(malformed_, IsEmpty());
}

TEST_F(LdifReaderTest, SkipsTheVersion) {
  EXPECT_THAT(Lines("version: 1\ndn: o=acme\n\n"), ElementsAre("dn: o=acme"));
  EXPECT_THAT(Lines("version: 1\n\ndn: o=acme\n\n"), ElementsAre("dn: o=acme"));
  EXPECT_THAT(Lines("# made by hand\nVERSION:1\n\ndn: o=acme\n\n"), ElementsAre("dn: o=acme"));
}

TEST_F(LdifReaderTest, SkipsBlanksBeforeAValueAndKeepsThoseBehind) {
  EXPECT_EQ("bob", Value(":bob"));
  EXPECT_EQ("bob", Value(": bob"));
  EXPECT_EQ("bob", Value(":    bob"));
  EXPECT_EQ("bob  ", Value(": bob  "));
  EXPECT_EQ("\tbob", Value(": \tbob"));
  EXPECT_EQ("", Value(":"));
  EXPECT_EQ("", Value(":  "));
}

TEST_F(LdifReaderTest, TakesColonsWithinAValue) {
  EXPECT_EQ("a:b::c", Value(": a:b::c"));
  EXPECT_EQ(": bob", Value(":  : bob"));
  EXPECT_EQ("<file:///x", Value(": <file:///x"));
}

TEST_F(LdifReaderTest, DecodesBase64) {
  EXPECT_EQ("bob", Value(":: Ym9i"));
  EXPECT_EQ("bob", Value("::Ym9i"));
  EXPECT_EQ("bob", Value("::   Ym9i"));
  EXPECT_EQ(" a\nb\r\n ", Value(":: IGEKYg0KIA=="));
  EXPECT_EQ("\0\xFF"s, Value(":: AP8="));
  EXPECT_EQ("", Value("::"));
  EXPECT_EQ("", Value(":: "));
}

TEST_F(LdifReaderTest, RefusesWhatIsNoBase64) {
  for (const char* const text : {"Ym9", "Ym9i=", "Ym 9i", "Ym9i!", "====", "\xC3\xBC__"}) {
    EXPECT_EQ("malformed", Value(":: "s + text)) << text;
  }
}

TEST_F(LdifReaderTest, RefusesValuesFromFiles) {
  EXPECT_EQ("malformed", Value(":< file:///etc/passwd"));
  EXPECT_EQ("malformed", Value(":<file:///etc/passwd"));
}

TEST_F(LdifReaderTest, DropsSecretValues) {
  const auto lines = Lines(
      "dn: o=acme\nuserPassword: s3cret\nuserPassword:: czNjcmV0\nUSERPASSWORD;x-a: s3\n cret\n"
      "2.5.4.35: s3cret\nuserPassword:< file:///s3cret\nuserPassword:: !!!\ncn: a\n\n");
  EXPECT_THAT(lines,
              ElementsAre("dn: o=acme", "userPassword: ", "userPassword: ", "USERPASSWORD;x-a: ",
                          "2.5.4.35: ", "userPassword: ", "userPassword: ", "cn: a"));
}

TEST_F(LdifReaderTest, TakesAttributeOptionsAndOids) {
  EXPECT_THAT(Lines("dn: o=acme\ncn;lang-en;x-a: a\n2.5.4.4: b\nmy-attr_2: c\n\n"),
              ElementsAre("dn: o=acme", "cn;lang-en;x-a: a", "2.5.4.4: b", "my-attr_2: c"));
}

TEST_F(LdifReaderTest, RefusesLinesThatAreNone) {
  for (const std::string& line : {"bob"s, ": bob"s, "c n: bob"s, "\xFF: bob"s, "cn\0: bob"s, "-- "s,
                                  "=bob"s, "c\u00FCn: bob"s}) {
    Read("dn: cn=a\n" + line + "\ncn: b\n\ndn: cn=c\n\n");
    EXPECT_THAT(malformed_, ElementsAre(2)) << line;
    ASSERT_THAT(records_, SizeIs(1)) << line;
    EXPECT_THAT(records_[0].lines, ElementsAre("dn: cn=c"));
  }
}

TEST_F(LdifReaderTest, ReadsADashInARecordOnly) {
  EXPECT_THAT(Lines("dn: cn=a\nadd: cn\n-\n\n"), ElementsAre("dn: cn=a", "add: cn", "-: "));
  Read("-\n");
  EXPECT_THAT(malformed_, ElementsAre(1));
}

TEST_F(LdifReaderTest, ARecordBeginsWithDn) {
  Read("cn: a\nsn: b\n\ndn: cn=c\n\n");
  EXPECT_THAT(malformed_, ElementsAre(1));
  ASSERT_THAT(records_, SizeIs(1));
}

TEST_F(LdifReaderTest, DnHasNoCase) {
  EXPECT_THAT(Lines("DN: cn=a\ncn: a\n\n"), ElementsAre("DN: cn=a", "cn: a"));
  Read("garbage\nDN: cn=a\n\n");
  EXPECT_THAT(records_, SizeIs(1));
}

TEST_F(LdifReaderTest, ASecondDnSpoilsTheRecord) {
  Read("dn: cn=a\ncn: a\ndn: cn=b\ncn: b\n\ndn: cn=c\n\n");
  EXPECT_THAT(malformed_, ElementsAre(3));
  ASSERT_THAT(records_, SizeIs(1));
  EXPECT_THAT(records_[0].lines, ElementsAre("dn: cn=c"));
}

TEST_F(LdifReaderTest, GarbageEndsAtADnLine) {
  Read("garbage\nmore garbage\n even more\ndn: cn=a\n\n");
  EXPECT_THAT(malformed_, ElementsAre(1));
  EXPECT_THAT(records_, SizeIs(1));
}

TEST_F(LdifReaderTest, GarbageBetweenHeaderAndDnLeavesTheHeader) {
  Read("# add 1 o=acme\ngarbage\ndn: cn=a\n# end add 1\n");
  EXPECT_THAT(malformed_, ElementsAre(2));
  ASSERT_THAT(records_, SizeIs(1));
  EXPECT_EQ("add 1 o=acme", records_[0].header);
}

TEST_F(LdifReaderTest, GarbageIsReportedOncePerBlock) {
  Read("x\ny\nz\n\nu\nv\n\n");
  EXPECT_THAT(malformed_, ElementsAre(1, 5));
}

TEST_F(LdifReaderTest, AContinuationOfNothingIsGarbage) {
  Read(" bob\n\n");
  EXPECT_THAT(malformed_, ElementsAre(1));
  Read("dn: cn=a\n\n bob\n\n");
  EXPECT_THAT(malformed_, ElementsAre(3));
}

TEST_F(LdifReaderTest, ARecordWithHeaderThatLacksItsEndHasBeenCutOff) {
  Read("# add 1 o=acme\ndn: cn=a\n\n# add 2 o=acme\ndn: cn=b\n# add 3 o=acme\ndn: cn=c\n");
  EXPECT_THAT(records_, IsEmpty());
  EXPECT_THAT(malformed_, ElementsAre(1, 4, 6));
}

TEST_F(LdifReaderTest, AHeaderWithoutRecordHasBeenCutOff) {
  Read("# add 1 o=acme\n# add 2 o=acme\ndn: cn=b\n# end add 2\n\n# add 3 o=acme\n");
  EXPECT_THAT(records_, SizeIs(1));
  EXPECT_THAT(malformed_, ElementsAre(1, 6));
}

TEST_F(LdifReaderTest, ALastLineWithoutEndHasBeenCutOff) {
  for (const char* const text : {"dn: cn=a\ncn: bo", "dn: cn=a", "dn: cn=a\n bo", "d",
                                 "# add 1 o=a", "dn: cn=a\n# comment", "dn: cn=a\n-"}) {
    Read(text);
    EXPECT_THAT(records_, IsEmpty()) << text;
    EXPECT_THAT(malformed_, SizeIs(1)) << text;
  }
}

TEST_F(LdifReaderTest, AnEndMarkOrCommentNeedsNoLineEnd) {
  Read("# add 1 o=acme\ndn: cn=a\n# end add 1");
  EXPECT_THAT(records_, SizeIs(1));
  EXPECT_THAT(malformed_, IsEmpty());
  Read("dn: cn=a\n\n# end of fi");
  EXPECT_THAT(records_, SizeIs(1));
  EXPECT_THAT(malformed_, IsEmpty());
}

TEST_F(LdifReaderTest, AnEndMarkAloneIsNoEntry) {
  Read("# end add 1\n\n# end modify 2");
  EXPECT_THAT(records_, IsEmpty());
  EXPECT_THAT(malformed_, IsEmpty());
}

TEST_F(LdifReaderTest, NoTextHasNoEntry) {
  for (const char* const text : {"", "\n", "\r\n", "\r", "\n\n\n", "# comment\n"}) {
    Read(text);
    EXPECT_THAT(records_, IsEmpty());
    EXPECT_THAT(malformed_, IsEmpty()) << ::testing::PrintToString(text);
  }
}

TEST_F(LdifReaderTest, AnotherTextBeginsAnew) {
  Read("# add 1 o=acme\ndn: cn=a\ncn: x");
  EXPECT_THAT(malformed_, SizeIs(1));
  Read("dn: cn=b\n\n");
  ASSERT_THAT(records_, SizeIs(1));
  EXPECT_EQ("", records_[0].header);
  EXPECT_THAT(records_[0].numbers, ElementsAre(1));
  EXPECT_THAT(malformed_, IsEmpty());
}

TEST_F(LdifReaderTest, AnotherTextDoesNotContinueTheLastComment) {
  Read("dn: cn=a\n\n# comment\n");
  Read(" garbage\n\n");
  EXPECT_THAT(malformed_, ElementsAre(1));
}

// Each takes far more memory than its one byte of text.
TEST_F(LdifReaderTest, ARecordOfTooManyLinesIsMalformed) {
  constexpr int kMostLines = 1 << 22;
  const auto record = [](int count) {
    std::string text = "dn: o=acme\n";
    for (int i = 1; i < count; ++i) text += "-\n";
    return text + "\ndn: o=next\n\n";
  };
  Read(record(kMostLines));
  EXPECT_THAT(malformed_, IsEmpty());
  EXPECT_THAT(records_, SizeIs(2));
  Read(record(kMostLines + 1));
  EXPECT_THAT(malformed_, ElementsAre(kMostLines + 1));
  EXPECT_THAT(records_, SizeIs(1));
}

}  // namespace
}  // namespace wkagent::test
