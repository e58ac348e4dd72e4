// The positions of feeds, while lines for the syslog collector are on their way.

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "agent/feed_position.h"
#include "agent/file_tracker.h"
#include "agent/log_tracker.h"

namespace wkagent::test {
namespace {

constexpr FeedPlace kFirst{.file = {1, 2, 3, 4}, .offset = 100, .line = 10};
constexpr FeedPlace kSecond{.file = {1, 2, 3, 4}, .offset = 200, .line = 20};

FeedPosition PositionOf(const FileTracker& tracker) {
  const std::string text = tracker.ToText();
  std::string_view rest = text;
  FeedPosition position;
  EXPECT_TRUE(position.FromText(rest, "jsonl:/feed"));
  EXPECT_EQ("", rest);
  return position;
}

void Count(PositionTracker& tracker, int count) {
  for (int i = 0; i < count; ++i) tracker.Count();
}

TEST(FeedPosition, IsOfOneFeedAndWhole) {
  const std::string text = FeedPosition{kFirst, 5, 6}.ToText("jsonl:/feed");
  FeedPosition position;
  std::string_view other = text;
  EXPECT_FALSE(position.FromText(other, "jsonl:/other"));
  for (std::size_t size = 0; size < text.size(); ++size) {
    std::string_view part = std::string_view(text).substr(0, size);
    EXPECT_FALSE(position.FromText(part, "jsonl:/feed")) << size;
    EXPECT_EQ(FeedPlace(), position.place);
  }
}

TEST(FileTracker, IsAtTheLatestPlaceWhereNoLinesAreForwarded) {
  FileTracker tracker("jsonl:/feed", {});
  tracker.OnPlace(kFirst, 0);
  Count(tracker, 7);
  tracker.Settle(0, 0);
  const FeedPosition position = PositionOf(tracker);
  EXPECT_EQ(kFirst, position.place);
  EXPECT_EQ(7, position.done);
  EXPECT_EQ(0, position.recorded);
  EXPECT_TRUE(tracker.IsSettled());
}

TEST(FileTracker, StaysBehindUntilItsLinesAreSettled) {
  FileTracker tracker("jsonl:/feed", {});
  tracker.OnPlace(kFirst, 0);
  Count(tracker, 7);
  tracker.Settle(7, 3);  // from now on it waits for the seventh
  EXPECT_EQ(7, PositionOf(tracker).recorded);
  tracker.OnPlace(kSecond, 0);
  Count(tracker, 2);
  tracker.Settle(9, 6);
  EXPECT_EQ(9, PositionOf(tracker).recorded);
  tracker.Settle(9, 7);
  EXPECT_EQ(kFirst, PositionOf(tracker).place);
  EXPECT_EQ(7, PositionOf(tracker).done);
  EXPECT_EQ(2, PositionOf(tracker).recorded);
  EXPECT_FALSE(tracker.IsSettled());
  tracker.Settle(9, 9);
  EXPECT_EQ(kSecond, PositionOf(tracker).place);
  EXPECT_EQ(0, PositionOf(tracker).recorded);
  EXPECT_TRUE(tracker.IsSettled());
}

TEST(FileTracker, KnowsWhatAnEarlierProcessRecorded) {
  FileTracker tracker("jsonl:/feed", {kFirst, 4, 2});
  EXPECT_TRUE(tracker.NextIsRecorded());
  EXPECT_EQ(2, PositionOf(tracker).recorded);
  tracker.Count();
  EXPECT_EQ(2, PositionOf(tracker).recorded) << "it is recorded, whether or not it has come again";
  tracker.Count();
  EXPECT_FALSE(tracker.NextIsRecorded());
  tracker.Settle(2, 2);
  EXPECT_EQ(6, PositionOf(tracker).done);
}

constexpr char kCsn[] = "20261121140000.000000Z#000000#000#000000";

// The entries that the text tells of, and how much of each is recorded.
RecordedEntries RecordedIn(const LogTracker& tracker, LogPosition& position) {
  const std::string text = tracker.ToText();
  EXPECT_TRUE(position.FromText(text, "log"));
  std::string_view rest = std::string_view(text).substr(text.rfind("\n\n") + 2);
  RecordedEntries recorded;
  EXPECT_TRUE(TakeRecorded(rest, recorded));
  EXPECT_EQ("", rest);
  return recorded;
}

TEST(LogTracker, TellsHowMuchOfAnEntryIsRecorded) {
  LogTracker tracker("log", {}, {});
  tracker.OnEntryBegun("a");
  Count(tracker, 2);
  tracker.OnEntryRead(kCsn, "a");
  tracker.OnEntryBegun("b");
  Count(tracker, 3);
  tracker.Settle(0, 0);
  LogPosition position;
  EXPECT_EQ((RecordedEntries{{"b", 3}}), RecordedIn(tracker, position));
  EXPECT_TRUE(position.Contains("a"));
}

TEST(LogTracker, KnowsWhatAnEarlierProcessRecorded) {
  LogTracker tracker("log", {}, {{"b", 2}});
  tracker.OnEntryBegun("a");
  EXPECT_FALSE(tracker.NextIsRecorded());
  tracker.OnEntryBegun("b");
  EXPECT_TRUE(tracker.NextIsRecorded());
  Count(tracker, 2);
  EXPECT_FALSE(tracker.NextIsRecorded());
  tracker.Count();
  LogPosition position;
  EXPECT_EQ((RecordedEntries{{"b", 3}}), RecordedIn(tracker, position));
}

TEST(LogTracker, StaysBehindUntilItsLinesAreSettled) {
  LogTracker tracker("log", {}, {});
  for (const char* id : {"a", "b"}) {
    tracker.OnEntryBegun(id);
    tracker.Count();
    tracker.OnEntryRead(kCsn, id);
    tracker.Settle(id[0] == 'a' ? 1 : 2, 0);
  }
  LogPosition position;
  EXPECT_EQ((RecordedEntries{{"a", 1}, {"b", 1}}), RecordedIn(tracker, position));
  tracker.Settle(2, 1);
  EXPECT_EQ((RecordedEntries{{"b", 1}}), RecordedIn(tracker, position));
  EXPECT_TRUE(position.Contains("a"));
  EXPECT_FALSE(tracker.IsSettled());
  tracker.Settle(2, 2);
  EXPECT_TRUE(tracker.IsSettled());
}

}  // namespace
}  // namespace wkagent::test
