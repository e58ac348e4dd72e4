#ifndef WKAGENT_OUTPUT_OUTPUT_STATE_H
#define WKAGENT_OUTPUT_OUTPUT_STATE_H

#include <string>
#include <string_view>

#include <libxml/xmlIO.h>

#include <wkagent/output.h>

#include "output/date_cache.h"
#include "output/record_text.h"
#include "output/sync_schedule.h"

// What an output file keeps beside its listed members.
class WKOutputFile::State {
 public:
  // Whether a whole record may be put into the writer's buffer as prepared text: the document is at
  // the level of records, and its writer has already ended one, so that neither an open start tag
  // nor an indentation is left to it. After an error everything goes through the writer, which
  // fails attribute by attribute.
  [[nodiscard]] bool TakesText(const _xmlTextWriter* current) const {
    return current == fileWriter && buffer != nullptr && level == kRecordLevel && elementEnded &&
           writeError == 0;
  }

  // The result of starting an element is at least the number of those that the writer knows to be
  // open. Where memory runs out it may forget one and say nothing, and what it wrote later would
  // not be XML.
  [[nodiscard]] bool HasForgotten(const _xmlTextWriter* current, int result) const {
    return current != nullptr && current == fileWriter && result < level;
  }

  // False with the error noted when the file cannot be written.
  [[nodiscard]] bool Put(std::string_view record) const {
    return xmlOutputBufferWrite(buffer, static_cast<int>(record.size()), record.data()) >= 0;
  }

  static constexpr int kRecordLevel = 2;  // inside root and group

  bool safe = false;
  int archived = 0;
  // Where archiving without replacing goes on within a second: the names before are taken, or their
  // files have been fetched, and trying them all again would take longer for each.
  std::string latestStamp;
  int nextNumber = 0;
  int writeError = 0;         // of the open file
  int earlierWriteError = 0;  // of those before it, since the host's OpenFile
  int nameError = 0;          // of syncing the names of files, since the last OpenFile

  wkagent::SyncSchedule sync;
  bool nameSynced = false;  // of the live file
  std::string closedFile;   // that was completed without error, and synced where that is on

  const _xmlTextWriter* fileWriter = nullptr;  // the writer of this buffer
  xmlOutputBuffer* buffer = nullptr;           // where the document's text goes
  int level = 0;                               // of open elements
  bool elementEnded = false;

  wkagent::RecordText text;
  wkagent::DateCache dates;
};

#endif  // WKAGENT_OUTPUT_OUTPUT_STATE_H
