#ifndef WKAGENT_OUTPUT_RECORD_WRITER_H
#define WKAGENT_OUTPUT_RECORD_WRITER_H

#include <string_view>

#include <wkagent/output.h>

#include "core/bounded_copy.h"
#include "output/output_state.h"
#include "output/record_dates.h"
#include "output/record_text.h"

namespace wkagent {

// Writes a record attribute by attribute, through the text writer of libxml2.
class RecordAttributes {
 public:
  explicit RecordAttributes(WKOutputFile& output) : output_(output) {}

  void Attribute(const char* name, std::string_view value) {
    // As long as the longest value; all come from fields, dates and literals.
    char text[sizeof(tagWKEventData)];
    text[value.copy(text, sizeof(text) - 1)] = '\0';
    output_.WriteElementAttribute(name, text);
  }

  void Number(const char* name, int value) {
    char text[16];
    FormatBounded(text, "%d", value);
    output_.WriteElementAttribute(name, text);
  }

 private:
  WKOutputFile& output_;
};

// The three dates at the end of a record. Deliberate: the first is the event's time, not the
// current one.
template <typename Record>
void WriteDates(Record& record, const RecordDates& dates) {
  record.Attribute("InsertDate", dates.local);
  record.Attribute("LogDate", dates.local);
  record.Attribute("UTCDate", dates.utc);
}

}  // namespace wkagent

// `layout(record, dates)` hands the attributes to `record`, either of the two above.
template <typename Layout>
int WKOutputFile::WriteRecord(const char* element, const tagWKEventData& event, Layout layout) {
  const wkagent::RecordDates& dates = state_->dates.Of(event.EventTime);
  if (writer != nullptr) {
    RotateWhenFull();
    if (state_->TakesText(writer)) {
      state_->text.Begin(element);
      layout(state_->text, dates);
      state_->text.End();
      if (state_->Put(state_->text.View())) {
        ++recordCount;
        if (state_->sync.IsOn()) SyncAfterRecord();
        return 0;
      }
    }
    WriteStartElement(element);
  }
  wkagent::RecordAttributes record(*this);
  layout(record, dates);
  return WriteEndRecord();
}

#endif  // WKAGENT_OUTPUT_RECORD_WRITER_H
