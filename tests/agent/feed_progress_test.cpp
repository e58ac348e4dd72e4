#include "agent/feed_progress.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/feed_recorder.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class PlaceRecorder : public FeedRecorder {
 public:
  struct Reached {
    std::int64_t offset;
    std::int64_t line;
    std::int64_t items;
    bool operator==(const Reached&) const = default;
  };

  void OnPlace(const FeedPlace& place, std::int64_t items) override {
    reached.push_back({place.offset, place.line, items});
  }

  std::vector<Reached> reached;
};

class FeedProgressTest : public ::testing::Test {
 protected:
  void Send(int count) {
    tagWKEventData event{};
    for (int i = 0; i < count; ++i) progress_.OnEvent(event);
  }

  PlaceRecorder found_;
  FeedProgress progress_{found_};
};

TEST_F(FeedProgressTest, TellsOfTheLastBoundaryAndWhatCameBehindIt) {
  Send(3);
  progress_.OnBoundary(100, 4);
  Send(2);
  progress_.OnMalformed(6, "nonsense");
  progress_.Announce();
  EXPECT_THAT(found_.reached, ElementsAre(PlaceRecorder::Reached{100, 4, 3}));
  EXPECT_THAT(found_.events, SizeIs(5));
}

TEST_F(FeedProgressTest, TellsNothingTwice) {
  progress_.Announce();
  progress_.Announce();
  Send(1);
  progress_.Announce();
  EXPECT_THAT(found_.reached,
              ElementsAre(PlaceRecorder::Reached{0, 0, 0}, PlaceRecorder::Reached{0, 0, 1}));
}

TEST_F(FeedProgressTest, LeavesOutWhatHasBeenDealtWith) {
  progress_.StartAt({{}, 50, 2}, 3);
  Send(2);
  progress_.OnMalformed(5, "nonsense");
  EXPECT_THAT(found_.events, IsEmpty());
  EXPECT_THAT(found_.malformed, IsEmpty());
  Send(2);
  EXPECT_THAT(found_.events, SizeIs(2));
}

TEST_F(FeedProgressTest, CountsWhatItWillLeaveOutAsDealtWith) {
  progress_.StartAt({{}, 50, 2}, 5);
  progress_.Announce();
  Send(2);
  progress_.OnBoundary(70, 4);
  Send(1);
  progress_.Announce();
  EXPECT_THAT(found_.reached,
              ElementsAre(PlaceRecorder::Reached{50, 2, 5}, PlaceRecorder::Reached{70, 4, 3}));
}

TEST_F(FeedProgressTest, BeginsAnewWithAnotherFile) {
  progress_.StartAt({{}, 50, 2}, 5);
  progress_.StartFile({1, 2, 0, 0});
  Send(1);
  progress_.Announce();
  EXPECT_THAT(found_.events, SizeIs(1));
  EXPECT_THAT(found_.reached, ElementsAre(PlaceRecorder::Reached{0, 0, 1}));
}

}  // namespace
}  // namespace wkagent::test
