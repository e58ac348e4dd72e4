#include "agent/event_batch.h"

#include <algorithm>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace wkagent::test {
namespace {

EventBatch Empty() {
  EventBatch batch;
  batch.Clear();
  return batch;
}

template <std::size_t kSize>
void Fill(char (&field)[kSize], char c, std::size_t length) {
  std::memset(field, c, length);
  if (length < kSize) field[length] = '\0';
}

// An event each of whose texts has `length` bytes, or fills its field.
tagWKEventData EventOf(std::size_t length) {
  tagWKEventData event{};
  event.EventID = 20005;
  event.Status = -49;
  event.EventTime = 1795207563;
  std::memcpy(event.reserved1, "condition", 9);
  std::memcpy(event.reserved2, "host", 4);
  const auto fill = [&](auto& field, char c) { Fill(field, c, std::min(length, sizeof(field))); };
  fill(event.UserName, 'u');
  fill(event.NodeAddress, 'n');
  fill(event.Class1, 'c');
  fill(event.Object1, 'o');
  fill(event.Attribute1, 'a');
  fill(event.AttributeValue, 'v');
  fill(event.Class2, 'C');
  fill(event.Object2, 'O');
  fill(event.ServerName, 's');
  fill(event.TreeName, 't');
  return event;
}

bool Same(const tagWKEventData& left, const tagWKEventData& right) {
  return std::memcmp(&left, &right, sizeof(left)) == 0;
}

TEST(EventBatch, GivesEventsBackAsTheyWereInTheirOrder) {
  EventBatch batch = Empty();
  for (const std::size_t length : {0U, 1U, 20U}) EXPECT_TRUE(batch.Add(EventOf(length)));
  for (const std::size_t length : {0U, 1U, 20U}) {
    tagWKEventData event{};
    EXPECT_TRUE(batch.Take(event));
    EXPECT_TRUE(Same(EventOf(length), event)) << length;
  }
  tagWKEventData none{};
  EXPECT_FALSE(batch.Take(none));
}

TEST(EventBatch, TextsFillTheirFieldsWithAndWithoutTerminator) {
  for (std::size_t length = 0; length <= sizeof(tagWKEventData::UserName); ++length) {
    EventBatch batch = Empty();
    ASSERT_TRUE(batch.Add(EventOf(length)));
    tagWKEventData event{};
    ASSERT_TRUE(batch.Take(event));
    EXPECT_TRUE(Same(EventOf(length), event)) << length;
  }
}

TEST(EventBatch, AShorterTextEndsWhereItEndedWhateverStoodThere) {
  EventBatch batch = Empty();
  ASSERT_TRUE(batch.Add(EventOf(3)));
  tagWKEventData event = EventOf(300);
  ASSERT_TRUE(batch.Take(event));
  EXPECT_STREQ("uuu", event.UserName);
  EXPECT_STREQ("ttt", event.TreeName);
}

TEST(EventBatch, TakesEventsAsLongAsThereIsRoom) {
  EventBatch batch = Empty();
  ASSERT_TRUE(batch.Add(EventOf(300)));
  EXPECT_FALSE(batch.Add(EventOf(0)));
  tagWKEventData event{};
  EXPECT_TRUE(batch.Take(event));
  EXPECT_TRUE(Same(EventOf(300), event));
  EXPECT_FALSE(batch.Take(event));
  batch.Clear();
  int count = 0;
  while (batch.Add(EventOf(10))) ++count;
  EXPECT_GT(count, 5);
}

}  // namespace
}  // namespace wkagent::test
