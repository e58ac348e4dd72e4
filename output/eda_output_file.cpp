#include <cstring>

#include <wkagent/output.h>

#include "output/record_writer.h"

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
  const wkagent::RecordWriter record(*this, *event);
  WriteStartRecord("EDADataRecord");
  record.Text("Origin", "EDA");
  record.Text("Source", "Linux");
  record.Text("Category", "eDirectory");
  record.Number("EventID", event->EventID);
  record.Number("Status", static_cast<int>(event->Status));
  record.Field("UserName", event->UserName);
  record.Text("UserGUID", "");
  record.Field("NodeAddress", event->NodeAddress);
  record.Field("Class1", event->Class1);
  record.Field("Object1", event->Object1);
  record.Text("ObjectGuid1", "");
  record.Field("Attribute1", event->Attribute1);
  record.Field("AttributeValue", event->AttributeValue);
  record.Field("Class2", event->Class2);
  record.Field("Object2", event->Object2);
  record.Text("ObjectGuid2", "");
  record.Field("ServerName", event->ServerName);
  record.Field("TreeName", event->TreeName);
  record.Text("RecordHash", "");
  record.Dates();
  return WriteEndRecord();
}

void WKEDAOutputFile::GetCategory(unsigned short eventCode, char* category) {
  for (const Category& entry : kCategories) {
    if (eventCode < entry.first || eventCode > entry.last) continue;
    std::memcpy(category, entry.text, std::strlen(entry.text) + 1);
    return;
  }
}
