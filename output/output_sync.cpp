// When what is written reaches the file, and the disk.

#include <cerrno>

#include <libxml/xmlwriter.h>

#include <wkagent/output.h>

#include "core/sync_to_disk.h"
#include "output/live_file.h"
#include "output/output_state.h"

int WKOutputFile::FlushFile() {
  if (xmlTextWriterFlush(writer) < 0) return 1;
  return state_->sync.IsDue() ? SyncFile() : 0;
}

void WKOutputFile::SetDurability(int records, int milliseconds) {
  state_->sync.Set(records, milliseconds);
}

int WKOutputFile::SyncFile() {
  if (writer == nullptr || writer != state_->fileWriter) return 1;
  if (xmlTextWriterFlush(writer) >= 0) SyncDocument();
  return state_->writeError == 0 ? 0 : 1;
}

void WKOutputFile::SyncAfterRecord() {
  if (state_->sync.NoteRecord()) (void)SyncFile();
}

// Puts on the disk what the open document has handed over, and the first time that it has a name.
void WKOutputFile::SyncDocument() {
  wkagent::SyncText(state_->buffer);
  state_->sync.Clear();
  if (state_->writeError != 0 || state_->nameSynced) return;
  const int error = wkagent::SyncName(fileName);
  state_->nameSynced = error == 0;
  // Without a descriptor or memory it is tried again the next time.
  if (error != EMFILE && error != ENFILE && error != ENOMEM) state_->writeError = error;
}

// A file has got a new name. Its old one is gone by the same step, so only one folder needs care.
void WKOutputFile::SyncMove(const char* to) {
  if (!state_->sync.IsOn()) return;
  if (const int error = wkagent::SyncName(to); error != 0) state_->nameError = error;
}
