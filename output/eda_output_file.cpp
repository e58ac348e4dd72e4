#include <cstring>

#include <wkagent/output.h>

#include "core/bounded_copy.h"
#include "output/record_dates.h"

namespace {

struct Category {
  unsigned short first;
  unsigned short last;
  const char* text;
};

constexpr Category kCategories[] = {
    {20001, 20004, "Object"},   {20005, 20006, "Attribute"},
    {20007, 20007, "Password"}, {20008, 20009, "Security Equivalances"},
    {20010, 20011, "Replica"},  {20012, 20016, "Schema Changes"},
    {21001, 21001, "Login"},    {21002, 21002, "Logout"},
};

}  // namespace

WKEDAOutputFile::WKEDAOutputFile(char* file, const char* root, const char* group)
    : WKOutputFile(file, root, group) {}

int WKEDAOutputFile::WriteAuditData(tagWKEventData* event) {
  const wkagent::RecordDates dates(event->EventTime);
  char eventId[16];
  char status[16];
  wkagent::FormatBounded(eventId, "%d", event->EventID);
  wkagent::FormatBounded(status, "%d", static_cast<int>(event->Status));

  const auto write = [this](const char* name, const char* value) {
    WriteElementAttribute(name, value);
  };
  const auto writeField = [this]<std::size_t kSize>(const char* name, const char(&field)[kSize]) {
    char text[kSize + 1];  // a field that is full has no terminator of its own
    wkagent::CopyField(text, field);
    WriteElementAttribute(name, text);
  };
  WriteStartRecord("EDADataRecord");
  write("Origin", "EDA");
  write("Source", "Linux");
  write("Category", "eDirectory");
  write("EventID", eventId);
  write("Status", status);
  writeField("UserName", event->UserName);
  write("UserGUID", "");
  writeField("NodeAddress", event->NodeAddress);
  writeField("Class1", event->Class1);
  writeField("Object1", event->Object1);
  write("ObjectGuid1", "");
  writeField("Attribute1", event->Attribute1);
  writeField("AttributeValue", event->AttributeValue);
  writeField("Class2", event->Class2);
  writeField("Object2", event->Object2);
  write("ObjectGuid2", "");
  writeField("ServerName", event->ServerName);
  writeField("TreeName", event->TreeName);
  write("RecordHash", "");
  write("InsertDate", dates.local);
  write("LogDate", dates.local);
  write("UTCDate", dates.utc);
  return WriteEndRecord();
}

void WKEDAOutputFile::GetCategory(unsigned short eventCode, char* category) {
  for (const Category& entry : kCategories) {
    if (eventCode < entry.first || eventCode > entry.last) continue;
    std::memcpy(category, entry.text, std::strlen(entry.text) + 1);
    return;
  }
}
