#include "agent/jsonl_feed.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <new>
#include <iterator>

#include "agent/event_codes.h"
#include "agent/event_condition.h"
#include "agent/field_text.h"
#include "agent/secret_attributes.h"

namespace wkagent {
namespace {

constexpr std::size_t kLongestLine = std::size_t{1} << 20;
constexpr std::time_t kLastYear9999 = 253402300799;  // 9999-12-31T23:59:59Z

using Value = simdjson::dom::element;

// Chosen while the program is loaded: later, a lack of memory for that would end the process.
[[maybe_unused]] const std::string chosenParser = simdjson::get_active_implementation()->name();

struct Field {
  std::string_view name;
  // Stores a value; null, or what is wrong with it.
  const char* (*set)(tagWKEventData&, const Value&);
};

[[nodiscard]] bool ReadInteger(const Value& value, std::int64_t smallest, std::int64_t largest,
                               std::int64_t& number) {
  return value.get(number) == simdjson::SUCCESS && number >= smallest && number <= largest;
}

template <auto kField>
const char* SetText(tagWKEventData& event, const Value& value) {
  std::string_view text;
  if (value.get(text) != simdjson::SUCCESS) return "a text field does not hold a text";
  SetField(event.*kField, text);
  return nullptr;
}

const char* SetEventId(tagWKEventData& event, const Value& value) {
  std::int64_t number = 0;
  if (!ReadInteger(value, 1, UINT16_MAX, number)) {
    return "EventID is not a whole number from 1 to 65535";
  }
  event.EventID = static_cast<std::uint16_t>(number);
  return nullptr;
}

const char* SetStatus(tagWKEventData& event, const Value& value) {
  std::int64_t number = 0;
  if (!ReadInteger(value, INT64_MIN, INT64_MAX, number)) return "Status is not a whole number";
  event.Status = number;
  return nullptr;
}

const char* SetConditionField(tagWKEventData& event, const Value& value) {
  std::int64_t number = 0;
  if (!ReadInteger(value, INT32_MIN, INT32_MAX, number)) {
    return "Condition is not a whole number of 32 bits";
  }
  SetCondition(event, static_cast<std::int32_t>(number));
  return nullptr;
}

const char* SetEventTime(tagWKEventData& event, const Value& value) {
  std::int64_t number = 0;
  if (!ReadInteger(value, 0, kLastYear9999, number)) {
    return "EventTime is not in seconds from 1970 to the year 9999";
  }
  event.EventTime = number;
  return nullptr;
}

constexpr Field kFields[] = {
    {"EventID", SetEventId},
    {"Status", SetStatus},
    {"UserName", SetText<&tagWKEventData::UserName>},
    {"NodeAddress", SetText<&tagWKEventData::NodeAddress>},
    {"Class1", SetText<&tagWKEventData::Class1>},
    {"Object1", SetText<&tagWKEventData::Object1>},
    {"Attribute1", SetText<&tagWKEventData::Attribute1>},
    {"AttributeValue", SetText<&tagWKEventData::AttributeValue>},
    {"Class2", SetText<&tagWKEventData::Class2>},
    {"Object2", SetText<&tagWKEventData::Object2>},
    {"ServerName", SetText<&tagWKEventData::ServerName>},
    {"TreeName", SetText<&tagWKEventData::TreeName>},
    {"EventTime", SetEventTime},
    {"Condition", SetConditionField},
};

// Finds fields in the order of the table first: most writers put the same keys into the same order.
class FieldFinder {
 public:
  // Null where there is no such field.
  [[nodiscard]] const Field* Find(std::string_view key) {
    for (std::size_t i = 0; i < kCount; ++i) {
      const Field& field = kFields[next_];
      next_ = next_ + 1 < kCount ? next_ + 1 : 0;
      if (key == field.name) return &field;
    }
    return nullptr;
  }

 private:
  static constexpr std::size_t kCount = std::size(kFields);

  std::size_t next_ = 0;
};

// Empties an event, whose texts need no more for that than their ends.
void Clear(tagWKEventData& event) {
  std::memset(&event, 0, offsetof(tagWKEventData, UserName));
  for (char* const text :
       {event.UserName, event.NodeAddress, event.Class1, event.Object1, event.Attribute1,
        event.AttributeValue, event.Class2, event.Object2, event.ServerName, event.TreeName}) {
    *text = '\0';
  }
  event.EventTime = 0;
}

}  // namespace

JsonlFeed::JsonlFeed(FeedSink& sink) : sink_(sink), splitter_(kLongestLine) {}

void JsonlFeed::Take(std::string_view block) {
  splitter_.Split(block, [this](std::string_view line) { TakeLine(line); });
  sink_.OnBoundary(splitter_.Offset(), splitter_.Number());
}

void JsonlFeed::Finish() {
  splitter_.Finish([this](std::string_view line) { TakeLine(line); });
}

void JsonlFeed::TakeLine(std::string_view line) {
  if (line.find_first_not_of(" \t") == std::string_view::npos) return;
  const char* const error =
      splitter_.IsTooLong(line) ? "the line is longer than 1 MiB" : ReadEvent(line);
  if (error != nullptr) return sink_.OnMalformed(splitter_.Number(), error);
  if (event_.EventID == kPasswordChanged || IsSecretAttribute(event_.Attribute1)) {
    SetField(event_.AttributeValue, "");
  } else if (MayHoldCredentials(event_.Attribute1)) {
    SetField(event_.AttributeValue, WithoutCredentials(event_.Attribute1, event_.AttributeValue));
  }
  sink_.OnEvent(event_);
}

const char* JsonlFeed::ReadEvent(std::string_view line) {
  simdjson::dom::object object;
  const simdjson::error_code code = parser_.parse(line.data(), line.size()).get(object);
  if (code == simdjson::MEMALLOC) throw std::bad_alloc();
  if (code != simdjson::SUCCESS) return "not a JSON object";
  Clear(event_);
  bool hasTime = false;
  FieldFinder fields;
  for (const auto& [key, value] : object) {
    if (value.is_null()) continue;
    const Field* const field = fields.Find(key);
    if (field == nullptr) continue;
    if (const char* const error = field->set(event_, value); error != nullptr) return error;
    hasTime = hasTime || field->set == SetEventTime;
  }
  if (event_.EventID == 0) return "EventID is missing";
  if (!hasTime) event_.EventTime = std::time(nullptr);
  return nullptr;
}

}  // namespace wkagent
