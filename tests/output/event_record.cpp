#include "output/event_record.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string_view>

namespace wkagent::test {
namespace {

constexpr std::string_view kPieces[] = {
    "a",      "Z",  "0",      ".",   " ",    "<",     ">",          "&",
    "\"",     "'",  "\n",     "\r",  "\t",   "\r\n",  "%s",         "%n",
    "%%",     "/>", "&amp;",  "]]>", "<!--", "-->",   "=",          "\u00e9",
    "\u20ac", "\\", "\u0416", ";",   "#",    "&#10;", "\U0001f600", "\u4e2d\u6587"};

std::size_t Below(std::mt19937& random, std::size_t limit) {
  return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

std::string RandomText(std::mt19937& random, std::size_t size, Texts texts) {
  std::string text;
  const std::size_t length = Below(random, 4) == 0 ? size : Below(random, size + 1);
  while (text.size() < length) {
    const std::string_view piece = kPieces[Below(random, std::size(kPieces))];
    if (texts == Texts::kAny && Below(random, 8) == 0) {
      text += static_cast<char>(1 + Below(random, 255));
    } else if (texts == Texts::kValid && text.size() + piece.size() > length) {
      text += 'a';
    } else {
      text += piece;
    }
  }
  return text;
}

template <std::size_t kSize>
std::string TextOf(const char (&field)[kSize]) {
  std::string text;
  for (const char character : field) {
    if (character == '\0') break;
    text += character;
  }
  return text;
}

std::string Date(const std::tm& time) {
  std::array<char, 128> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d", time.tm_year + 1900,
                time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec);
  return text.data();
}

}  // namespace

tagWKEventData SampleEvent() {
  tagWKEventData event{};
  event.EventID = 20008;
  event.Status = -603;
  event.EventTime = 1'794'748'925;  // 2026-11-15 13:22:05 UTC
  Fill(event.UserName, "admin.sales.acme");
  Fill(event.NodeAddress, "192.0.2.17");
  Fill(event.Class1, "User");
  Fill(event.Object1, "bob.sales.acme");
  Fill(event.Attribute1, "Security Equals");
  Fill(event.AttributeValue, "[true]");
  Fill(event.Class2, "Group");
  Fill(event.Object2, "managers.acme");
  Fill(event.ServerName, "srv1.acme");
  Fill(event.TreeName, "ACME_TREE");
  return event;
}

tagWKEventData RandomEvent(std::mt19937& random, Texts texts) {
  tagWKEventData event{};
  event.EventID = static_cast<std::uint16_t>(random());
  event.Status = static_cast<std::int64_t>(std::uint64_t{random()} << 32 | random());
  event.EventTime = static_cast<std::time_t>(random());
  ForEachField(event, [&](auto& field) { Fill(field, RandomText(random, sizeof(field), texts)); });
  return event;
}

Attributes ExpectedAttributes(const tagWKEventData& event) {
  const std::string local = Date(*std::localtime(&event.EventTime));
  const std::string utc = Date(*std::gmtime(&event.EventTime));
  return {{"Origin", "EDA"},
          {"Source", "Linux"},
          {"Category", "eDirectory"},
          {"EventID", std::to_string(event.EventID)},
          {"Status", std::to_string(static_cast<std::int32_t>(event.Status & 0xffffffff))},
          {"UserName", TextOf(event.UserName)},
          {"UserGUID", ""},
          {"NodeAddress", TextOf(event.NodeAddress)},
          {"Class1", TextOf(event.Class1)},
          {"Object1", TextOf(event.Object1)},
          {"ObjectGuid1", ""},
          {"Attribute1", TextOf(event.Attribute1)},
          {"AttributeValue", TextOf(event.AttributeValue)},
          {"Class2", TextOf(event.Class2)},
          {"Object2", TextOf(event.Object2)},
          {"ObjectGuid2", ""},
          {"ServerName", TextOf(event.ServerName)},
          {"TreeName", TextOf(event.TreeName)},
          {"RecordHash", ""},
          {"InsertDate", local},
          {"LogDate", local},
          {"UTCDate", utc}};
}

Attributes ExpectedLoginAttributes(const tagWKEventData& event) {
  const std::string local = Date(*std::localtime(&event.EventTime));
  const std::string utc = Date(*std::gmtime(&event.EventTime));
  return {{"Origin", "ELA"},
          {"Source", "Linux"},
          {"Category", event.EventID == 21001 ? "Login" : "Logout"},
          {"EventID", std::to_string(event.EventID)},
          {"Status", std::to_string(static_cast<std::int32_t>(event.Status & 0xffffffff))},
          {"UserName", TextOf(event.UserName)},
          {"UserGUID", ""},
          {"NodeAddress", TextOf(event.NodeAddress)},
          {"ServerName", TextOf(event.ServerName)},
          {"TreeName", TextOf(event.TreeName)},
          {"RecordHash", ""},
          {"InsertDate", local},
          {"LogDate", local},
          {"UTCDate", utc}};
}

}  // namespace wkagent::test
