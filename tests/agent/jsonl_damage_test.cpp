// Lines that are no events: cut off, mixed with garbage, too long or otherwise broken.

#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "agent/jsonl_fixture.h"
#include "support/random_seed.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::string_literals;

constexpr std::size_t kMiB = std::size_t{1} << 20;

TEST(JsonlDamage, OnlyObjectsAreEvents) {
  for (const char* const line : {"[]", "[{\"EventID\":1}]", "1", "\"EventID\"", "null", "true", "x",
                                 "EventID=1", "<a/>", ":", ",", "{", "}", "\"", "\\"}) {
    EXPECT_TRUE(IsMalformed(line)) << line;
  }
}

TEST(JsonlDamage, ALineHoldsOneObjectAndNothingElse) {
  for (const char* const rest :
       {"x", "}", ",", "{}", "{\"EventID\":2}", " {\"EventID\":2}", "[]", "//", "#", "1", ";"}) {
    EXPECT_TRUE(IsMalformed("{\"EventID\":1}"s + rest)) << rest;
    EXPECT_TRUE(IsMalformed(rest + "{\"EventID\":1}"s)) << rest;
  }
}

TEST(JsonlDamage, NearlyJsonIsNone) {
  for (const char* const line :
       {"{'EventID':1}", "{EventID:1}", "{\"EventID\":1,}", "{,\"EventID\":1}", "{\"EventID\" 1}",
        "{\"EventID\":}", "{\"EventID\"}", "{\"EventID\":01}", "{\"EventID\":+1}", "{\"EventID\":1",
        "{\"EventID\":0x1}", "{\"EventID\":1.}", "{\"EventID\":NaN}", "{\"EventID\":1,\"x\":tru}",
        "{\"EventID\":1,\"x\":\"\\x\"}", "{\"EventID\":1,\"x\":\"\\u12\"}",
        "{\"EventID\":1,\"x\":\"\t\"}", "{\"EventID\":1 \"x\":1}", "{\"EventID\":1,\"x\"::1}"}) {
    EXPECT_TRUE(IsMalformed(line)) << line;
  }
}

TEST(JsonlDamage, AZeroByteIsMalformed) {
  EXPECT_TRUE(IsMalformed("{\"EventID\":1}\0"s));
  EXPECT_TRUE(IsMalformed("\0{\"EventID\":1}"s));
  EXPECT_TRUE(IsMalformed("{\"EventID\":1,\"UserName\":\"a\0b\"}"s));
}

TEST(JsonlDamage, WhatIsNotUtf8IsMalformed) {
  for (const char* const bytes : {"\xFF", "\xC3", "\xE4 ", "\x80", "\xC0\xAF", "\xED\xA0\x80",
                                  "\xF4\x90\x80\x80", "\xE2\x82"}) {
    EXPECT_TRUE(IsMalformed("{\"EventID\":1,\"UserName\":\""s + bytes + "\"}")) << bytes;
    EXPECT_TRUE(IsMalformed("{\"EventID\":1,\"x\":\""s + bytes + "\"}")) << bytes;
    EXPECT_TRUE(IsMalformed(bytes)) << bytes;
  }
}

TEST(JsonlDamage, ABrokenLineIsReportedAndTheNextIsRead) {
  const FeedRecorder found =
      FoundJson("{\"EventID\":1}\n{\"EventID\":2\n\"EventID\":3}\n{\"EventID\":4}\n");
  EXPECT_THAT(found.Codes(), ElementsAre(1, 4));
  EXPECT_THAT(found.MalformedLines(), ElementsAre(2, 3));
}

TEST(JsonlDamage, TheReasonSaysWhatIsWrong) {
  const FeedRecorder found = FoundJson(
      "x\n{}\n{\"EventID\":70000}\n{\"EventID\":1,\"Status\":\"\"}\n"
      "{\"EventID\":1,\"EventTime\":-1}\n{\"EventID\":1,\"UserName\":1}\n");
  ASSERT_THAT(found.malformed, SizeIs(6));
  EXPECT_EQ("not a JSON object", found.malformed[0].reason);
  EXPECT_EQ("EventID is missing", found.malformed[1].reason);
  EXPECT_THAT(found.malformed[2].reason, HasSubstr("EventID"));
  EXPECT_THAT(found.malformed[3].reason, HasSubstr("Status"));
  EXPECT_THAT(found.malformed[4].reason, HasSubstr("EventTime"));
  EXPECT_THAT(found.malformed[5].reason, HasSubstr("text"));
}

TEST(JsonlDamage, ALineMayBeCutOffAtAnyByte) {
  const std::string first = "{\"EventID\":1,\"EventTime\":5,\"UserName\":\"a\"}\n";
  const std::string second = R"({"EventID":2,"UserName":"J\u00fcrgen )"
                             "\u20AC"
                             R"(","EventTime":6,"x":[{}]})";
  for (std::size_t size = 0; size <= second.size(); ++size) {
    const FeedRecorder found = FoundJson(first + second.substr(0, size), 10);
    const bool whole = size == second.size();
    EXPECT_EQ((whole ? std::vector<int>{1, 2} : std::vector<int>{1}), found.Codes()) << size;
    EXPECT_THAT(found.malformed, SizeIs(whole || size == 0 ? 0 : 1)) << size;
  }
}

TEST(JsonlDamage, DeepNestingIsNoTrouble) {
  const auto nested = [](std::size_t depth) {
    return "{\"EventID\":1,\"x\":" + std::string(depth, '[') + std::string(depth, ']') + "}";
  };
  EXPECT_FALSE(IsMalformed(nested(100)));
  EXPECT_TRUE(IsMalformed(nested(100000)));
}

// The line of `size` bytes with an event.
std::string LineOf(std::size_t size) {
  std::string line = R"({"EventID":1,"EventTime":5,"x":""})";
  line.insert(line.size() - 2, size - line.size(), 'y');
  return line;
}

TEST(JsonlDamage, ALineMayHaveOneMebibyte) {
  for (const std::size_t block : {std::string::npos, std::size_t{4096}}) {
    EXPECT_THAT(FoundJson(LineOf(kMiB) + "\n", block).Codes(), ElementsAre(1));
    EXPECT_THAT(FoundJson(LineOf(kMiB) + "\r\n", block).Codes(), ElementsAre(1));
    EXPECT_THAT(FoundJson(LineOf(kMiB), block).Codes(), ElementsAre(1));
  }
}

TEST(JsonlDamage, ALongerLineIsMalformedAndTheNextIsRead) {
  for (const std::size_t size : {kMiB + 1, kMiB + 2, kMiB + 3, 3 * kMiB}) {
    for (const std::size_t block : {std::string::npos, std::size_t{4096}}) {
      const FeedRecorder found = FoundJson(LineOf(size) + "\n{\"EventID\":2}\n", block);
      EXPECT_THAT(found.Codes(), ElementsAre(2)) << size << " in blocks of " << block;
      EXPECT_THAT(found.MalformedLines(), ElementsAre(1));
    }
  }
}

long PeakKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

TEST(JsonlDamage, ALineWithoutEndTakesLittleMemory) {
  FeedRecorder found;
  JsonlFeed feed(found);
  const std::string block(65536, 'x');
  const long before = PeakKilobytes();
  for (int i = 0; i < 2048; ++i) feed.Take(block);  // 128 MiB
  feed.Take("\n{\"EventID\":2}\n");
  EXPECT_LT(PeakKilobytes() - before, 16 * 1024);
  EXPECT_THAT(found.Codes(), ElementsAre(2));
  EXPECT_THAT(found.MalformedLines(), ElementsAre(1));
}

TEST(JsonlDamage, TakesLinesWithRandomBytesChanged) {
  std::mt19937 random(RandomSeed());
  const std::string good =
      R"({"EventID":20005,"Status":-1,"UserName":"J\u00fcrgen","Object1":"a.b","EventTime":5})"
      "\n";
  for (int i = 0; i < 3000; ++i) {
    std::string text = good + good;
    for (int change = 0; change < 3; ++change) {
      const char kOdd[] = "\"\\{}[]:,\n0u\0\xFF";
      text[random() % (good.size() - 1)] = kOdd[random() % sizeof(kOdd)];
    }
    const FeedRecorder found = FoundJson(text, 1 + random() % 50);
    ASSERT_THAT(found.events, ::testing::Not(IsEmpty())) << text;
  }
}

}  // namespace
}  // namespace wkagent::test
