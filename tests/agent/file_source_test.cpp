#include "agent/file_source.h"

#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/feed_recorder.h"
#include "support/agent_home.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// More than is read at once.
constexpr std::size_t kManyBlocks = 3 << 20;

// A file of the home as a source, whose events are recorded.
class FileSourceTest : public ::testing::Test {
 protected:
  void Open(FeedKind kind, const std::string& text, bool follow = false) {
    home_.Write("tmp/feed", text);
    Options options;
    options.feedKind = kind;
    options.feedPath = home_.Path("tmp/feed");
    options.follow = follow;
    source_.emplace(options);
    ASSERT_EQ(kDone, source_->Open());
    source_->Attach(found_);
  }

  // Works until there is nothing to do for now.
  Source::State Work() {
    Source::State state = Source::State::kBusy;
    while (state == Source::State::kBusy) state = source_->Work(true);
    return state;
  }

  void Append(const std::string& text) const {
    std::ofstream(home_.Path("tmp/feed"), std::ios::app | std::ios::binary) << text;
  }

  [[nodiscard]] std::vector<std::string> Objects() const {
    std::vector<std::string> objects;
    for (const Event& event : found_.events) objects.push_back(event.object1);
    return objects;
  }

  AgentHome home_;
  FeedRecorder found_;
  std::optional<FileSource> source_;
};

std::string Line(const std::string& object) {
  return R"({"EventID":20001,"Object1":")" + object + "\"}\n";
}

std::string Record(const std::string& name) {
  return "# add 1795207563 o=acme cn=admin,o=acme IP=192.0.2.1:1 conn=1\ndn: cn=" + name +
         ",o=acme\nchangetype: add\n# end add 1795207563\n\n";
}

// Entries of ever other sizes, so that their lines lie across the ends of blocks everywhere; and
// the names of the objects.
std::string ManyEntries(std::string (*entry)(const std::string&), std::vector<std::string>& names) {
  std::string text;
  while (text.size() < kManyBlocks) {
    names.push_back("n" + std::to_string(names.size()) + std::string(names.size() % 97, 'x'));
    text += entry(names.back());
  }
  return text;
}

TEST_F(FileSourceTest, LinesMayLieAcrossBlocks) {
  std::vector<std::string> names;
  Open(FeedKind::kJsonl, ManyEntries(Line, names));
  EXPECT_EQ(Source::State::kEnd, Work());
  EXPECT_TRUE(names == Objects());
  EXPECT_THAT(found_.malformed, IsEmpty());
}

TEST_F(FileSourceTest, RecordsMayLieAcrossBlocks) {
  std::vector<std::string> names;
  Open(FeedKind::kAuditlog, ManyEntries(Record, names));
  EXPECT_EQ(Source::State::kEnd, Work());
  for (std::string& name : names) name += ".acme";
  EXPECT_TRUE(names == Objects());
  EXPECT_THAT(found_.malformed, IsEmpty());
}

TEST_F(FileSourceTest, ALineMayLieAcrossSeveralBlocks) {
  const std::string large =
      R"({"EventID":20001,"Object1":"large","Other":")" + std::string(1000000, 'x') + "\"}\n";
  Open(FeedKind::kJsonl, Line("before") + large + Line("behind"));
  EXPECT_EQ(Source::State::kEnd, Work());
  EXPECT_THAT(Objects(), ElementsAre("before", "large", "behind"));
}

TEST_F(FileSourceTest, AValueMayLieAcrossSeveralBlocks) {
  std::string value;
  while (value.size() < kManyBlocks) value += "QUFB\n ";  // folded base64
  Open(FeedKind::kAuditlog, Record("before") + "dn: cn=large,o=acme\nchangetype: add\ncn:: " +
                                value + "\n\n" + Record("behind"));
  EXPECT_EQ(Source::State::kEnd, Work());
  EXPECT_THAT(Objects(), ElementsAre("before.acme", "large.acme", "large.acme", "behind.acme"));
  EXPECT_EQ(std::string(299, 'A'), found_.events[2].value);
}

TEST_F(FileSourceTest, AFileMayEndWithABlock) {
  constexpr std::size_t kSize = 1 << 20;
  const std::string whole = Line("last");
  for (const std::string& line : {whole, whole.substr(0, whole.size() - 1)}) {
    found_ = FeedRecorder();
    Open(FeedKind::kJsonl, std::string(kSize - line.size(), '\n') + line);
    EXPECT_EQ(Source::State::kEnd, Work());
    EXPECT_THAT(Objects(), ElementsAre("last"));
  }
}

TEST_F(FileSourceTest, AnEntryThatIsWrittenInPartsIsReadWhenItIsWhole) {
  Open(FeedKind::kAuditlog, "", true);
  const std::string record = Record("slow");
  for (std::size_t i = 0; i + 1 < record.size(); ++i) {
    EXPECT_EQ(Source::State::kIdle, Work());
    EXPECT_THAT(found_.events, IsEmpty()) << "after " << i << " bytes";
    Append(record.substr(i, 1));
  }
  EXPECT_EQ(Source::State::kIdle, Work());
  EXPECT_THAT(Objects(), ElementsAre("slow.acme"));
}

TEST_F(FileSourceTest, ZeroBytesEndNoLine) {
  const std::string zero(1, '\0');
  Open(FeedKind::kAuditlog, "dn: cn=a,o=acme\nchangetype: add\ncn: one" + zero + "two\n\n" + zero +
                                "\n\n" + Record("b"));
  EXPECT_EQ(Source::State::kEnd, Work());
  EXPECT_THAT(Objects(), ElementsAre("a.acme", "a.acme", "b.acme"));
  EXPECT_EQ("b25lAHR3bw==", found_.events[1].value) << "as base64";
  EXPECT_THAT(found_.malformed, ElementsAre(Malformed{5, "not an LDIF line"}));
}

}  // namespace
}  // namespace wkagent::test
