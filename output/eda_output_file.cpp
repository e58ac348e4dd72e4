#include <cstring>

#include <wkagent/output.h>

#include "output/record_writer.h"

using wkagent::BoundedView;

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
  const auto layout = [event](auto& record, const wkagent::RecordDates& dates) {
    record.Attribute("Origin", "EDA");
    record.Attribute("Source", "Linux");
    record.Attribute("Category", "eDirectory");
    record.Number("EventID", event->EventID);
    record.Number("Status", static_cast<int>(event->Status));
    record.Attribute("UserName", BoundedView(event->UserName));
    record.Attribute("UserGUID", "");
    record.Attribute("NodeAddress", BoundedView(event->NodeAddress));
    record.Attribute("Class1", BoundedView(event->Class1));
    record.Attribute("Object1", BoundedView(event->Object1));
    record.Attribute("ObjectGuid1", "");
    record.Attribute("Attribute1", BoundedView(event->Attribute1));
    record.Attribute("AttributeValue", BoundedView(event->AttributeValue));
    record.Attribute("Class2", BoundedView(event->Class2));
    record.Attribute("Object2", BoundedView(event->Object2));
    record.Attribute("ObjectGuid2", "");
    record.Attribute("ServerName", BoundedView(event->ServerName));
    record.Attribute("TreeName", BoundedView(event->TreeName));
    record.Attribute("RecordHash", "");
    wkagent::WriteDates(record, dates);
  };
  return WriteRecord("EDADataRecord", *event, layout);
}

void WKEDAOutputFile::GetCategory(unsigned short eventCode, char* category) {
  for (const Category& entry : kCategories) {
    if (eventCode < entry.first || eventCode > entry.last) continue;
    std::memcpy(category, entry.text, std::strlen(entry.text) + 1);
    return;
  }
}
