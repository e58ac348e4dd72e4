#include <wkagent/output.h>

#include "output/record_writer.h"

namespace {

constexpr int kLogin = 21001;

}  // namespace

WKELAOutputFile::WKELAOutputFile(char* file, const char* root, const char* group)
    : WKOutputFile(file, root, group) {}

int WKELAOutputFile::WriteAuditData(tagWKEventData* event) {
  const wkagent::RecordWriter record(*this, *event);
  WriteStartRecord("ELADataRecord");
  record.Text("Origin", "ELA");
  record.Text("Source", "Linux");
  record.Text("Category", event->EventID == kLogin ? "Login" : "Logout");
  record.Number("EventID", event->EventID);
  record.Number("Status", static_cast<int>(event->Status));
  record.Field("UserName", event->UserName);
  record.Text("UserGUID", "");
  record.Field("NodeAddress", event->NodeAddress);
  record.Field("ServerName", event->ServerName);
  record.Field("TreeName", event->TreeName);
  record.Text("RecordHash", "");
  record.Dates();
  return WriteEndRecord();
}
