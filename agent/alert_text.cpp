#include "agent/alert_text.h"

#include <array>
#include <ctime>
#include <string_view>

#include "agent/event_codes.h"
#include "agent/field_text.h"
#include "core/bounded_copy.h"

namespace wkagent {
namespace {

struct Name {
  unsigned short code;
  const char* text;
};

constexpr Name kNames[] = {
    {kEntryAdded, "object added"},
    {kEntryDeleted, "object deleted"},
    {kEntryRenamed, "object renamed"},
    {kEntryMoved, "object moved"},
    {kValueAdded, "attribute value added"},
    {kValueRemoved, "attribute value deleted"},
    {kPasswordChanged, "password changed"},
    {kMembershipAdded, "membership added"},
    {kMembershipRemoved, "membership removed"},
    {kReplicaChanged, "replication changed"},
    {kReplicaRemoved, "replication removed"},
    {kAttributeTypeAdded, "attribute type added"},
    {kAttributeTypeRemoved, "attribute type removed"},
    {kObjectClassAdded, "object class added"},
    {kObjectClassRemoved, "object class removed"},
    {kSchemaChanged, "schema changed"},
    {kLogin, "login"},
    {kLogout, "logout"},
};

constexpr std::size_t kMessageSize = 256;  // with the terminator

std::string NameOf(unsigned short code) {
  for (const Name& name : kNames) {
    if (name.code == code) return name.text;
  }
  return "event " + std::to_string(code);
}

void Append(std::string_view before, std::string_view value, std::string& text) {
  if (!value.empty()) text.append(before).append(value);
}

std::string TimeOf(std::time_t time) {
  std::array<char, 64> buffer{};
  std::tm local{};
  tzset();  // the system's time zone may have changed
  localtime_r(&time, &local);
  std::strftime(buffer.data(), buffer.size(), "%Y-%m-%d %H:%M:%S", &local);
  return buffer.data();
}

}  // namespace

std::string AlertText(const tagWKEventData& event) {
  std::string text = NameOf(event.EventID);
  Append(": ", BoundedView(event.Object1), text);
  Append(", ", BoundedView(event.Attribute1), text);
  Append("=", BoundedView(event.AttributeValue), text);
  Append(", ", BoundedView(event.Object2), text);
  Append("; by ", BoundedView(event.UserName), text);
  Append(" from ", BoundedView(event.NodeAddress), text);
  text.append(" at ").append(TimeOf(event.EventTime));
  text.append(", status ").append(std::to_string(static_cast<int>(event.Status)));
  for (char& c : text) {
    // A line end would make two alerts of it.
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
  }
  std::array<char, kMessageSize> cut{};
  CopyField(text, cut.data(), cut.size());
  return cut.data();
}

}  // namespace wkagent
