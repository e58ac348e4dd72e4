// Change logs that are cut off, mixed with garbage or otherwise broken.

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/auditlog_fixture.h"
#include "support/random_seed.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using namespace std::string_literals;

const std::string kFirst = LoggedAdd("cn=a,ou=sales,o=acme",
                                     "objectClass: person\ncn: a\nuserPassword: s3cret\n"
                                     "description:: b25lCnR3\n bw==\nsn: a long\n  name\n");
const std::string kSecond = LoggedModify("cn=b,o=acme",
                                         "add: mail\nmail: b@acme\nmail: c@acme\n-\n"
                                         "delete: sn\n-\n");
const std::string kThird = LoggedRename("cn=c,o=acme", "newrdn: cn=d\ndeleteoldrdn: 1\n");

constexpr std::size_t kSecondLine = 13;  // where the second record begins in kFirst + kSecond

// The number of records of `log` whose end mark lies, with a digit at least, before `size`, and
// where the last of them ends.
std::size_t CompleteRecords(const std::string& log, std::size_t size, std::size_t& end) {
  std::size_t count = 0;
  end = 0;
  for (std::size_t at = log.find("# end "); at < size; at = log.find("# end ", at + 1)) {
    if (log.find(" 1", at) >= size - 1) break;
    end = std::min(log.find('\n', at), size);
    ++count;
  }
  return count;
}

// Whatever a log is cut down to, its complete records are reported, and nothing of the cut one but
// that it is cut off, as soon as its header can be told from another comment.
void ExpectCompleteRecordsHoweverCut(const std::vector<std::string>& records) {
  std::string log;
  std::vector<std::vector<Event>> expected = {{}};
  for (const std::string& record : records) {
    log += record;
    expected.push_back(Found(log).events);
  }
  for (std::size_t size = 0; size <= log.size(); ++size) {
    const FeedRecorder found = Found(log.substr(0, size), 50);
    std::size_t end = 0;
    const std::size_t complete = CompleteRecords(log, size, end);
    EXPECT_TRUE(expected[complete] == found.events) << "cut down to " << size;
    const std::size_t begun = log.find("# ", end);
    const bool cut =
        begun != std::string::npos && log.find(" 1", begun) < size - std::min(size, 1UL);
    EXPECT_THAT(found.malformed, SizeIs(cut ? 1 : 0)) << "cut down to " << size;
    EXPECT_THAT(found.Everything(), Not(HasSubstr("s3cret")));
  }
}

TEST(AuditlogDamage, ALogMayBeCutOffAtAnyByte) {
  ExpectCompleteRecordsHoweverCut({kFirst, kSecond, kThird});
}

TEST(AuditlogDamage, ALogWithCrLfMayBeCutOffAtAnyByte) {
  ExpectCompleteRecordsHoweverCut({WithCrLf(kFirst), WithCrLf(kSecond), WithCrLf(kThird)});
}

TEST(AuditlogDamage, ACutOffRecordIsReportedAtItsHeader) {
  const std::string log = kFirst + kSecond.substr(0, kSecond.find("mail: c"));
  const FeedRecorder found = Found(log);
  EXPECT_THAT(found.MalformedLines(), ElementsAre(kSecondLine));
  EXPECT_EQ("the record is cut off", found.malformed[0].reason);
}

TEST(AuditlogDamage, ARecordWithoutEndMarkSparesTheNext) {
  const std::string broken = kFirst.substr(0, kFirst.find("# end"));
  for (const std::string between : {"", "\n", "\n\n"}) {
    const FeedRecorder found = Found(broken + between + kSecond);
    EXPECT_TRUE(Found(kSecond).events == found.events);
    EXPECT_THAT(found.MalformedLines(), ElementsAre(1));
  }
}

TEST(AuditlogDamage, AHeaderWithoutRecordSparesTheNext) {
  const FeedRecorder found = Found("# add 1795207563 o=acme\n" + kSecond);
  EXPECT_TRUE(Found(kSecond).events == found.events);
  EXPECT_THAT(found.MalformedLines(), ElementsAre(1));
}

TEST(AuditlogDamage, GarbageBetweenRecordsIsReportedOnceAndSkipped) {
  const std::vector<Event> expected = Found(kFirst + kSecond).events;
  const std::string firstAlone = kFirst.substr(0, kFirst.size() - 1);  // without its blank line
  for (const std::string& garbage :
       {"garbage\n"s, "two lines\nof garbage\n"s, "\0\x01\x80\xFF\xFE\n\x1B[0m\n"s, "cn: bob\n"s,
        "changetype: delete\nadd: cn\n"s, "-\n"s, ":\n"s, "::\n"s, "=\n"s, "# add\nx\n"s,
        "\xC3\xA9: x\n"s, "\t\n"s, std::string(300000, 'x') + "\n"}) {
    for (const char* const before : {"", "\n"}) {
      for (const char* const after : {"", "\n"}) {
        const FeedRecorder found = Found(firstAlone + before + garbage + after + kSecond, 1000);
        EXPECT_TRUE(expected == found.events) << ::testing::PrintToString(garbage.substr(0, 50));
        EXPECT_THAT(found.malformed, SizeIs(1)) << ::testing::PrintToString(garbage.substr(0, 50));
      }
    }
  }
}

TEST(AuditlogDamage, RandomGarbageNeverTouchesTheRecordsAround) {
  std::mt19937 random(RandomSeed());
  const std::vector<Event> expected = Found(kFirst + kSecond).events;
  for (int i = 0; i < 2000; ++i) {
    std::string garbage(random() % 60, '\0');
    for (char& byte : garbage) byte = static_cast<char>(random());
    const FeedRecorder found = Found(kFirst + garbage + "\n" + kSecond, 1 + random() % 64);
    ASSERT_TRUE(expected == found.events) << ::testing::PrintToString(garbage);
  }
}

TEST(AuditlogDamage, GarbageWithinARecordSpoilsOnlyThat) {
  std::string broken = kFirst;
  broken.insert(broken.find("cn: a\n"), "garbage\n");
  const FeedRecorder found = Found(broken + kSecond);
  EXPECT_TRUE(Found(kSecond).events == found.events);
  EXPECT_THAT(found.MalformedLines(), ElementsAre(5));
}

// The lines of one record after its "dn", and the line of the record that is wrong.
struct Broken {
  const char* what;
  std::string lines;
  long line;
};

const Broken kBroken[] = {
    {"no changetype", "objectClass: person\n", 2},
    {"nothing but a name", "", 2},
    {"nothing but a name and a control", "control: 1.2.3\n", 2},
    {"a changetype that comes late", "cn: a\nchangetype: add\n", 2},
    {"an unknown changetype", "changetype: mody\n", 3},
    {"an empty changetype", "changetype:\n", 3},
    {"a dash in a new entry", "changetype: add\ncn: a\n-\n", 5},
    {"bad base64", "changetype: add\ncn: a\nsn:: Ym9\n", 5},
    {"bad base64, folded", "changetype: add\nsn:: Ym\n 9!\ncn: a\n", 4},
    {"a value from a file", "changetype: add\njpegPhoto:< file:///etc/passwd\n", 4},
    {"a second dn", "changetype: add\ncn: a\ndn: cn=z,o=acme\nsn: z\n", 5},
    {"an unknown modification", "changetype: modify\nset: cn\ncn: b\n-\n", 4},
    {"a modification that is missing", "changetype: modify\n-\n", 4},
    {"a value of another attribute", "changetype: modify\nadd: cn\ncn: b\nsn: b\n-\n", 6},
    {"a value with another option", "changetype: modify\nadd: cn;lang-en\ncn: b\n-\n", 5},
    {"a second modification without dash", "changetype: modify\nadd: cn\ncn: b\ndelete: sn\n-\n",
     6},
    {"a rename without new name", "changetype: modrdn\ndeleteoldrdn: 1\n", 2},
    {"a rename with an empty name", "changetype: modrdn\nnewrdn:\n", 2},
    {"a line without colon", "changetype: add\ncn bob\n", 4},
};

TEST(AuditlogDamage, ABrokenRecordIsReportedOnceAtItsLineAndSkippedWhole) {
  for (const auto& [what, lines, line] : kBroken) {
    const FeedRecorder found = Found(Logged("add", "dn: cn=x,o=acme\n" + lines) + kSecond);
    EXPECT_TRUE(Found(kSecond).events == found.events) << what;
    EXPECT_THAT(found.MalformedLines(), ElementsAre(line)) << what;
  }
}

TEST(AuditlogDamage, ABrokenRecordWithoutHeaderAsWell) {
  for (const auto& [what, lines, line] : kBroken) {
    const FeedRecorder found = Found("dn: cn=x,o=acme\n" + lines + "\n" + kSecond);
    EXPECT_TRUE(Found(kSecond).events == found.events) << what;
    EXPECT_THAT(found.MalformedLines(), ElementsAre(line - 1)) << what;
  }
}

TEST(AuditlogDamage, ABadNameSpoilsTheRecord) {
  for (const char* const name : {"dn:: Ym9", "dn:< file:///etc/passwd", "d n: o=acme"}) {
    const FeedRecorder found = Found(Logged("delete", name + "\nchangetype: delete\n"s) + kSecond);
    EXPECT_TRUE(Found(kSecond).events == found.events) << name;
    EXPECT_THAT(found.MalformedLines(), ElementsAre(2)) << name;
  }
}

TEST(AuditlogDamage, AFileIsNeverReadForAValue) {
  const FeedRecorder found = Found(
      LoggedModify("cn=x,o=acme", "add: cn\ncn:< file:///etc/passwd\n-\n") +
      LoggedModify("cn=x,o=acme", "add: userPassword\nuserPassword:< file:///etc/passwd\n-\n"));
  EXPECT_THAT(Changes(found), ElementsAre("20007 x.acme userPassword="));
  EXPECT_THAT(found.malformed, SizeIs(1));
  EXPECT_THAT(found.Everything(), Not(HasSubstr("root:")));
}

TEST(AuditlogDamage, AReasonHoldsNoValue) {
  const std::string secret = "s3cret";
  for (const std::string& lines :
       {"changetype: " + secret + "\n",
        "changetype: modify\nadd: " + secret + "\n" + secret + "x: 1\n",
        "changetype: add\nuserPassword " + secret + "\n", "changetype: add\ncn:: " + secret + "\n",
        "changetype: modify\nadd: userPassword " + secret + "\nuserPassword: " + secret + "\n",
        "changetype: add\n" + secret + "\n", secret + ": " + secret + "\n"}) {
    const FeedRecorder found = Found(Logged("add", "dn: cn=x,o=acme\n" + lines));
    EXPECT_THAT(found.malformed, SizeIs(1)) << lines;
    EXPECT_THAT(found.Everything(), Not(HasSubstr(secret))) << lines;
  }
}

// Feeds `count` times the same block.
void TakeOften(Feed& feed, const std::string& block, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) feed.Take(block);
}

constexpr std::size_t kMiB = std::size_t{1} << 20;

TEST(AuditlogDamage, ALineThatIsTooLongSpoilsOnlyItsRecord) {
  FeedRecorder found;
  AuditlogFeed feed(found, "dir1");
  feed.Take("# add 1795207563 o=acme\ndn: cn=x,o=acme\nchangetype: add\ncn: ");
  TakeOften(feed, std::string(kMiB, 'x'), 65);
  feed.Take("\nsn: y\n# end add 1795207563\n\n" + kSecond);
  feed.Finish();
  EXPECT_TRUE(Found(kSecond).events == found.events);
  EXPECT_THAT(found.MalformedLines(), ElementsAre(4));
}

TEST(AuditlogDamage, AContinuationThatIsTooLongSpoilsOnlyItsRecord) {
  FeedRecorder found;
  AuditlogFeed feed(found, "dir1");
  feed.Take("# add 1795207563 o=acme\ndn: cn=x,o=acme\nchangetype: add\ncn: a\n ");
  TakeOften(feed, std::string(kMiB, 'x'), 65);
  feed.Take("\nsn: y\n# end add 1795207563\n\n" + kSecond);
  feed.Finish();
  EXPECT_TRUE(Found(kSecond).events == found.events);
  EXPECT_THAT(found.MalformedLines(), ElementsAre(5));
}

TEST(AuditlogDamage, GarbageWithoutEndIsBounded) {
  FeedRecorder found;
  AuditlogFeed feed(found, "dir1");
  TakeOften(feed, std::string(kMiB, 'x'), 65);
  feed.Take("\n" + kSecond);
  feed.Finish();
  EXPECT_TRUE(Found(kSecond).events == found.events);
  EXPECT_THAT(found.MalformedLines(), ElementsAre(1));
}

TEST(AuditlogDamage, ARecordThatIsTooLargeSpoilsNoOther) {
  FeedRecorder found;
  AuditlogFeed feed(found, "dir1");
  feed.Take("# add 1795207563 o=acme\ndn: cn=x,o=acme\nchangetype: add\n");
  TakeOften(feed, "cn: " + std::string(kMiB, 'x') + "\n", 257);
  feed.Take("# end add 1795207563\n\n" + kSecond);
  feed.Finish();
  EXPECT_TRUE(Found(kSecond).events == found.events);
  EXPECT_THAT(found.MalformedLines(), SizeIs(1));
}

// Nothing may crash or overrun, and every text stays one that XML can carry; the recorder checks.
TEST(AuditlogDamage, TakesALogWithRandomBytesChanged) {
  std::mt19937 random(RandomSeed());
  const std::string sample = SampleLog().substr(0, 8000);
  for (int i = 0; i < 300; ++i) {
    std::string log = sample;
    for (int change = 0; change < 20; ++change) {
      const std::size_t at = random() % log.size();
      const char kOdd[] = "\n\r :#-,=\\\"\0\x80\xFF";
      log[at] = random() % 2 == 0 ? kOdd[random() % sizeof(kOdd)] : static_cast<char>(random());
    }
    const FeedRecorder whole = Found(log);
    const FeedRecorder pieces = Found(log, 1 + random() % 100);
    ASSERT_TRUE(whole.events == pieces.events);
    ASSERT_TRUE(whole.malformed == pieces.malformed);
  }
}

}  // namespace
}  // namespace wkagent::test
