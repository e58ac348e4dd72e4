#include "agent/event_batch.h"

#include <cstring>

namespace wkagent {
namespace {

// What an event holds beside its texts stands before and behind them.
constexpr std::size_t kFront = offsetof(tagWKEventData, UserName);

struct Text {
  std::size_t offset;
  std::size_t size;
};

constexpr Text kTexts[] = {
    {offsetof(tagWKEventData, UserName), sizeof(tagWKEventData::UserName)},
    {offsetof(tagWKEventData, NodeAddress), sizeof(tagWKEventData::NodeAddress)},
    {offsetof(tagWKEventData, Class1), sizeof(tagWKEventData::Class1)},
    {offsetof(tagWKEventData, Object1), sizeof(tagWKEventData::Object1)},
    {offsetof(tagWKEventData, Attribute1), sizeof(tagWKEventData::Attribute1)},
    {offsetof(tagWKEventData, AttributeValue), sizeof(tagWKEventData::AttributeValue)},
    {offsetof(tagWKEventData, Class2), sizeof(tagWKEventData::Class2)},
    {offsetof(tagWKEventData, Object2), sizeof(tagWKEventData::Object2)},
    {offsetof(tagWKEventData, ServerName), sizeof(tagWKEventData::ServerName)},
    {offsetof(tagWKEventData, TreeName), sizeof(tagWKEventData::TreeName)},
};
constexpr std::size_t kTextCount = sizeof(kTexts) / sizeof(kTexts[0]);

// Before each event: how long its texts are.
using Sizes = std::uint16_t[kTextCount];

constexpr std::size_t LargestEvent() {
  std::size_t size = sizeof(Sizes) + kFront + sizeof(tagWKEventData::EventTime);
  for (const Text& text : kTexts) size += text.size;
  return size;
}

}  // namespace

bool EventBatch::Add(const tagWKEventData& event) {
  static_assert(LargestEvent() <= kSize);
  const char* const from = reinterpret_cast<const char*>(&event);
  Sizes sizes;
  std::size_t whole = sizeof(sizes) + kFront + sizeof(event.EventTime);
  for (std::size_t i = 0; i < kTextCount; ++i) {
    const char* const text = from + kTexts[i].offset;
    sizes[i] = static_cast<std::uint16_t>(*text == '\0' ? 0 : strnlen(text, kTexts[i].size));
    whole += sizes[i];
  }
  if (whole > kSize - used_) return false;
  char* to = bytes_ + used_;
  const auto put = [&to](const void* bytes, std::size_t size) {
    std::memcpy(to, bytes, size);
    to += size;
  };
  put(sizes, sizeof(sizes));
  put(from, kFront);
  put(&event.EventTime, sizeof(event.EventTime));
  for (std::size_t i = 0; i < kTextCount; ++i) put(from + kTexts[i].offset, sizes[i]);
  used_ += static_cast<std::uint32_t>(whole);
  return true;
}

bool EventBatch::Take(tagWKEventData& event) {
  if (taken_ == used_) return false;
  const char* from = bytes_ + taken_;
  const auto get = [&from](void* bytes, std::size_t size) {
    std::memcpy(bytes, from, size);
    from += size;
  };
  char* const to = reinterpret_cast<char*>(&event);
  Sizes sizes;
  get(sizes, sizeof(sizes));
  get(to, kFront);
  get(&event.EventTime, sizeof(event.EventTime));
  for (std::size_t i = 0; i < kTextCount; ++i) {
    char* const text = to + kTexts[i].offset;
    get(text, sizes[i]);
    if (sizes[i] < kTexts[i].size) text[sizes[i]] = '\0';
  }
  taken_ = static_cast<std::uint32_t>(from - bytes_);
  return true;
}

}  // namespace wkagent
