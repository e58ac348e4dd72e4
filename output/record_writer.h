#ifndef WKAGENT_OUTPUT_RECORD_WRITER_H
#define WKAGENT_OUTPUT_RECORD_WRITER_H

#include <wkagent/output.h>

#include "core/bounded_copy.h"
#include "output/record_dates.h"

namespace wkagent {

// Writes the attributes of one event's record.
class RecordWriter {
 public:
  RecordWriter(WKOutputFile& output, const tagWKEventData& event)
      : output_(output), dates_(event.EventTime) {}

  void Text(const char* name, const char* value) const {
    output_.WriteElementAttribute(name, value);
  }

  void Number(const char* name, int value) const {
    char text[16];
    FormatBounded(text, "%d", value);
    Text(name, text);
  }

  // A field of the event; one that is full has no terminator of its own.
  template <std::size_t kSize>
  void Field(const char* name, const char (&field)[kSize]) const {
    char text[kSize + 1];
    CopyField(text, field);
    Text(name, text);
  }

  // The three dates at the end. Deliberate: the first is the event's time, not the current one.
  void Dates() const {
    Text("InsertDate", dates_.local);
    Text("LogDate", dates_.local);
    Text("UTCDate", dates_.utc);
  }

 private:
  WKOutputFile& output_;
  const RecordDates dates_;
};

}  // namespace wkagent

#endif  // WKAGENT_OUTPUT_RECORD_WRITER_H
