#include "agent/jsonl_feed.h"

#include <ctime>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/jsonl_fixture.h"

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Le;
using ::testing::Not;
using ::testing::SizeIs;

TEST(JsonlFeed, FillsEveryField) {
  const FeedRecorder found = FoundJson(
      R"({"EventID":20008,"Status":-601,"UserName":"admin.acme","NodeAddress":"10.0.0.1",)"
      R"("Class1":"group","Object1":"staff.acme","Attribute1":"member","AttributeValue":"cn=bob",)"
      R"("Class2":"person","Object2":"bob.acme","ServerName":"dir1","TreeName":"acme",)"
      R"("EventTime":1795207563})"
      "\n");
  const Event expected{20008,      -601,         1795207563, "admin.acme", "10.0.0.1",
                       "group",    "staff.acme", "member",   "cn=bob",     "person",
                       "bob.acme", "dir1",       "acme"};
  EXPECT_THAT(found.events, ElementsAre(expected));
  EXPECT_THAT(found.malformed, IsEmpty());
}

TEST(JsonlFeed, FieldsMayComeInAnyOrderWithAnyBlanks) {
  const FeedRecorder found =
      FoundJson("  { \"EventTime\" : 5 ,\t\"Object1\":\"a\" , \"EventID\"\t: 20001 }  \n");
  ASSERT_THAT(found.events, SizeIs(1));
  EXPECT_EQ(20001, found.events[0].code);
  EXPECT_EQ("a", found.events[0].object1);
}

TEST(JsonlFeed, MissingFieldsAreEmpty) {
  Event expected;
  expected.code = 20001;
  expected.time = 5;
  EXPECT_THAT(FoundJson("{\"EventID\":20001,\"EventTime\":5}\n").events, ElementsAre(expected));
}

TEST(JsonlFeed, NullIsAsGoodAsMissing) {
  Event expected;
  expected.code = 20001;
  expected.time = 5;
  EXPECT_THAT(FoundJson(R"({"EventID":20001,"EventTime":5,"Status":null,"UserName":null,)"
                        R"("Class1":null,"AttributeValue":null,"TreeName":null})"
                        "\n")
                  .events,
              ElementsAre(expected));
  EXPECT_TRUE(IsMalformed(R"({"EventID":null})"));
}

TEST(JsonlFeed, NothingStaysForTheNextEvent) {
  const FeedRecorder found = FoundJson(
      "{\"EventID\":20001,\"UserName\":\"a\",\"Status\":1,\"EventTime\":5}\n"
      "{\"UserName\":\"x\",\"Object1\":7}\n{\"EventID\":20002,\"EventTime\":6}\n");
  ASSERT_THAT(found.events, SizeIs(2));
  Event expected;
  expected.code = 20002;
  expected.time = 6;
  EXPECT_EQ(expected, found.events[1]);
}

TEST(JsonlFeed, AMissingTimeIsNow) {
  for (const char* const line : {"{\"EventID\":20001}", "{\"EventID\":20001,\"EventTime\":null}"}) {
    const std::time_t before = std::time(nullptr);
    const FeedRecorder found = FoundJson(line);
    ASSERT_THAT(found.events, SizeIs(1));
    EXPECT_THAT(found.events[0].time, AllOf(Ge(before), Le(std::time(nullptr))));
  }
}

TEST(JsonlFeed, TimesReachFrom1970ToTheYear9999) {
  const auto timeOf = [](const std::string& time) {
    return FoundJson("{\"EventID\":1,\"EventTime\":" + time + "}\n").events.at(0).time;
  };
  EXPECT_EQ(0, timeOf("0"));
  EXPECT_EQ(253402300799, timeOf("253402300799"));
  for (const char* const time : {"253402300800", "-1", "1e9", "1795207563.0", "\"1795207563\"",
                                 "true", "[]", "9223372036854775808"}) {
    EXPECT_TRUE(IsMalformed(std::string("{\"EventID\":1,\"EventTime\":") + time + "}")) << time;
  }
}

TEST(JsonlFeed, EventIdsReachFrom1To65535) {
  EXPECT_THAT(FoundJson("{\"EventID\":1}\n{\"EventID\":65535}\n").Codes(), ElementsAre(1, 65535));
  for (const char* const id : {"0", "-1", "65536", "85537", "4294987297", "9223372036854775807",
                               "18446744073709551615", "18446744073709551616", "20001.0", "20001.5",
                               "2e4", "\"20001\"", "true", "{}", "[20001]"}) {
    EXPECT_TRUE(IsMalformed(std::string("{\"EventID\":") + id + "}")) << id;
  }
}

TEST(JsonlFeed, AnEventIdIsRequired) {
  EXPECT_TRUE(IsMalformed("{}"));
  EXPECT_TRUE(IsMalformed(R"({"UserName":"a"})"));
  EXPECT_TRUE(IsMalformed(R"({"eventid":20001})"));
}

TEST(JsonlFeed, AStatusIsAnyWholeNumber) {
  EXPECT_EQ(0, EventWith("\"Status\":0").status);
  EXPECT_EQ(-1, EventWith("\"Status\":-1").status);
  EXPECT_EQ(INT64_MAX, EventWith("\"Status\":9223372036854775807").status);
  EXPECT_EQ(INT64_MIN, EventWith("\"Status\":-9223372036854775808").status);
  for (const char* const status : {"9223372036854775808", "-9223372036854775809", "1.5", "1e3",
                                   "\"0\"", "false", "{}", "[]"}) {
    EXPECT_TRUE(IsMalformed(std::string("{\"EventID\":1,\"Status\":") + status + "}")) << status;
  }
}

TEST(JsonlFeed, TextFieldsHoldTexts) {
  for (const std::string field :
       {"UserName", "NodeAddress", "Class1", "Object1", "Attribute1", "AttributeValue", "Class2",
        "Object2", "ServerName", "TreeName"}) {
    for (const char* const value : {"1", "1.5", "true", "{}", "[]", "[\"a\"]", "{\"a\":\"b\"}"}) {
      EXPECT_TRUE(IsMalformed("{\"EventID\":1,\"" + field + "\":" + value + "}")) << field << value;
    }
  }
}

TEST(JsonlFeed, TextsAreCutToTheirFields) {
  const std::string text(1000, 'x');
  const auto field = [&](const std::string& name) {
    return EventWith("\"" + name + "\":\"" + text + "\"");
  };
  EXPECT_EQ(299U, field("UserName").user.size());
  EXPECT_EQ(49U, field("NodeAddress").node.size());
  EXPECT_EQ(63U, field("Class1").class1.size());
  EXPECT_EQ(299U, field("Object1").object1.size());
  EXPECT_EQ(127U, field("Attribute1").attribute.size());
  EXPECT_EQ(299U, field("AttributeValue").value.size());
  EXPECT_EQ(63U, field("Class2").class2.size());
  EXPECT_EQ(299U, field("Object2").object2.size());
  EXPECT_EQ(127U, field("ServerName").server.size());
  EXPECT_EQ(127U, field("TreeName").tree.size());
}

TEST(JsonlFeed, TextsAreCutBetweenCharacters) {
  EXPECT_EQ(std::string(48, 'x'),
            EventWith("\"NodeAddress\":\"" + std::string(48, 'x') + "\u00E9\"").node);
  EXPECT_EQ(std::string(47, 'x') + "\u00E9",
            EventWith("\"NodeAddress\":\"" + std::string(47, 'x') + "\u00E9y\"").node);
}

TEST(JsonlFeed, EscapesAreResolved) {
  EXPECT_EQ("a\"b\\c/d\n\r\te", EventWith(R"("AttributeValue":"a\"b\\c\/d\n\r\te")").value);
  EXPECT_EQ("J\u00FCrgen \u20AC", EventWith(R"("AttributeValue":"J\u00fcrgen \u20AC")").value);
  EXPECT_EQ("\U0001F600", EventWith(R"("AttributeValue":"\uD83D\uDE00")").value);
  EXPECT_EQ("bob", EventWith(R"("\u0055serName":"bob")").user);
}

TEST(JsonlFeed, CharactersThatXmlForbidsAreReplaced) {
  EXPECT_EQ("a\uFFFDb", EventWith(R"("AttributeValue":"a\u0000b")").value);
  EXPECT_EQ("\uFFFD\uFFFD\uFFFD", EventWith(R"("AttributeValue":"\b\f\u001b")").value);
  EXPECT_EQ("\uFFFD\uFFFD", EventWith(R"("AttributeValue":"\uFFFE\uFFFF")").value);
}

TEST(JsonlFeed, LoneSurrogatesAreMalformedOrReplaced) {
  for (const char* const text : {R"(\uD800)", R"(\uDC00)", R"(\uDE00\uD83D)", R"(\uD83Dx)"}) {
    const FeedRecorder found =
        FoundJson("{\"EventID\":1,\"Object1\":\"" + std::string(text) + "\"}\n{\"EventID\":2}\n");
    EXPECT_EQ(2, found.Codes().back()) << text;
    EXPECT_EQ(2U, found.events.size() + found.malformed.size()) << text;
  }
}

TEST(JsonlFeed, UnknownKeysAreIgnored) {
  EXPECT_EQ("bob",
            EventWith(R"("Condition":3,"x":{"EventID":1,"y":[1,{"z":null}]},"username":"eve",)"
                      R"("UserName":"bob","":"")")
                .user);
  EXPECT_EQ("", EventWith(R"("x":{"UserName":"eve"})").user);
}

TEST(JsonlFeed, TheLastOfEqualKeysCounts) {
  EXPECT_EQ("b", EventWith(R"("UserName":"a","UserName":"b")").user);
}

TEST(JsonlFeed, BlankLinesAreIgnoredAndCounted) {
  const FeedRecorder found = FoundJson("\n  \n\t\r\n\r\n{\"EventID\":1}\r\n\nx\n");
  EXPECT_THAT(found.Codes(), ElementsAre(1));
  EXPECT_THAT(found.MalformedLines(), ElementsAre(7));
}

TEST(JsonlFeed, LinesMayEndWithCrLfOrNotAtAll) {
  EXPECT_THAT(FoundJson("{\"EventID\":1}\r\n{\"EventID\":2}\r\n{\"EventID\":3}").Codes(),
              ElementsAre(1, 2, 3));
}

TEST(JsonlFeed, AnEventIsReportedAtTheEndOfItsLine) {
  FeedRecorder found;
  JsonlFeed feed(found);
  feed.Take("{\"EventID\":1}");
  EXPECT_THAT(found.events, IsEmpty());
  feed.Take("\n");
  EXPECT_THAT(found.events, SizeIs(1));
}

TEST(JsonlFeed, OneInputMayFollowAnother) {
  FeedRecorder found;
  JsonlFeed feed(found);
  TakeInBlocks(feed, "{\"EventID\":1}\n{\"Event", 4);
  TakeInBlocks(feed, "{\"EventID\":2}\nx\n", 4);
  EXPECT_THAT(found.Codes(), ElementsAre(1, 2));
  EXPECT_THAT(found.MalformedLines(), ElementsAre(2, 2));
}

TEST(JsonlFeed, GivesTheSameInBlocksOfAnySize) {
  const std::string text =
      "{\"EventID\":20001,\"EventTime\":5,\"UserName\":\"J\u00FCrgen\"}\r\n\ngarbage\n"
      "{\"EventID\":20002,\"EventTime\":6,\"Object1\":\"\\u20ac\"}\n{\"EventID\":0}\n"
      "{\"EventID\":20003,\"EventTime\":7}";
  const FeedRecorder whole = FoundJson(text);
  EXPECT_THAT(whole.Codes(), ElementsAre(20001, 20002, 20003));
  for (std::size_t size = 1; size <= text.size(); ++size) {
    const FeedRecorder found = FoundJson(text, size);
    EXPECT_EQ(whole.events, found.events) << size;
    EXPECT_EQ(whole.malformed, found.malformed) << size;
  }
}

// Secrets.

TEST(JsonlFeed, ThePasswordOfAPasswordEventIsDropped) {
  const Event event =
      FoundJson(R"({"EventID":20007,"Attribute1":"x","AttributeValue":"s3cret"})").events.at(0);
  EXPECT_EQ("", event.value);
  EXPECT_EQ("x", event.attribute);
}

TEST(JsonlFeed, SecretAttributesHaveNoValue) {
  for (const char* const name : {"userPassword", "USERPASSWORD;x-a", "olcRootPW", "2.5.4.35"}) {
    EXPECT_EQ(
        "", EventWith("\"AttributeValue\":\"s3cret\",\"Attribute1\":\"" + std::string(name) + "\"")
                .value)
        << name;
  }
}

TEST(JsonlFeed, CredentialsWithinAValueAreNotShown) {
  const Event event =
      EventWith(R"("Attribute1":"olcSyncrepl","AttributeValue":"rid=1 credentials=s3cret x=y")");
  EXPECT_EQ("rid=1 credentials=*** x=y", event.value);
}

TEST(JsonlFeed, AReasonHoldsNoValue) {
  const FeedRecorder found = FoundJson(
      "{\"EventID\":\"s3cret\"}\n{\"EventID\":1,\"s3cret\":\ns3cret\n{\"EventID\":1,\"Status\":"
      "\"s3cret\"}\n{\"AttributeValue\":\"s3cret\"}\n");
  EXPECT_THAT(found.malformed, SizeIs(5));
  EXPECT_THAT(found.Everything(), Not(HasSubstr("s3cret")));
}

}  // namespace
}  // namespace wkagent::test
