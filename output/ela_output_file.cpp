#include <wkagent/output.h>

#include "output/record_writer.h"

using wkagent::BoundedView;

namespace {

constexpr int kLogin = 21001;

}  // namespace

WKELAOutputFile::WKELAOutputFile(char* file, const char* root, const char* group)
    : WKOutputFile(file, root, group) {}

int WKELAOutputFile::WriteAuditData(tagWKEventData* event) {
  const auto layout = [event](auto& record, const wkagent::RecordDates& dates) {
    record.Attribute("Origin", "ELA");
    record.Attribute("Source", "Linux");
    record.Attribute("Category", event->EventID == kLogin ? "Login" : "Logout");
    record.Number("EventID", event->EventID);
    record.Number("Status", static_cast<int>(event->Status));
    record.Attribute("UserName", BoundedView(event->UserName));
    record.Attribute("UserGUID", "");
    record.Attribute("NodeAddress", BoundedView(event->NodeAddress));
    record.Attribute("ServerName", BoundedView(event->ServerName));
    record.Attribute("TreeName", BoundedView(event->TreeName));
    record.Attribute("RecordHash", "");
    wkagent::WriteDates(record, dates);
  };
  return WriteRecord("ELADataRecord", *event, layout);
}
