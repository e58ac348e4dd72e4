#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include <libxml/xmlwriter.h>

#include <wkagent/output.h>

#include "config/xml_library.h"
#include "core/bounded_copy.h"
#include "core/printed_text.h"
#include "output/live_file.h"
#include "output/output_state.h"

namespace {

constexpr int kDefaultThreshold = 500;

struct WriterFreer {
  void operator()(xmlTextWriter* writer) const { xmlFreeTextWriter(writer); }
};
using Writer = std::unique_ptr<xmlTextWriter, WriterFreer>;

const xmlChar* Xml(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

}  // namespace

WKOutputFile::WKOutputFile(char* file, const char* root, const char* group)
    : writer(nullptr),
      thresholdLimit(kDefaultThreshold),
      recordCount(0),
      rootElement{},
      groupElement{},
      fileName{},
      errorText{},
      state_(std::make_unique<State>()) {
  wkagent::InitXmlLibrary();
  wkagent::CopyBounded(fileName, file);
  wkagent::CopyBounded(rootElement, root);
  wkagent::CopyBounded(groupElement, group);
}

WKOutputFile::~WKOutputFile() {
  try {
    CloseFile();
  } catch (const std::bad_alloc&) {
    // The document is closed by then; that it is on the disk cannot be made sure of.
  }
}

int WKOutputFile::OpenFile() {
  // A document that is still open is not completed, only released; what it had not yet written
  // goes to the file that has been moved or removed by then, or, where no record may be lost, into
  // it before that.
  Writer previous(std::exchange(writer, nullptr));
  if (state_->safe) previous.reset();
  const bool cleared = ClearLiveFile();
  previous.reset();
  recordCount = 0;
  state_->earlierWriteError = std::exchange(state_->nameError, 0);
  state_->writeError = 0;
  state_->level = 0;
  state_->elementEnded = false;
  state_->nameSynced = false;
  state_->closedFile.clear();
  state_->sync.Clear();
  if (!cleared) return 1;

  writer = wkagent::NewFileWriter(fileName, &state_->writeError, &state_->buffer, state_->safe);
  state_->fileWriter = writer;
  if (writer == nullptr) {
    wkagent::FormatBounded(errorText, "xmlNewTextWriterFilename failed to open file %s", fileName);
    Report();
    return 1;
  }
  xmlTextWriterSetIndent(writer, 1);
  xmlTextWriterSetIndentString(writer, Xml("  "));
  if (xmlTextWriterStartDocument(writer, nullptr, nullptr, nullptr) < 0) {
    const Writer failed(std::exchange(writer, nullptr));
    wkagent::CopyBounded(errorText, "xmlTextWriterStartDocument failed - Error:");
    Report();
    return 1;
  }
  WriteStartElement(rootElement);
  WriteStartElement(groupElement);
  if (state_->writeError != ENOMEM) return 0;
  const Writer failed(std::exchange(writer, nullptr));
  return 1;
}

void WKOutputFile::CloseFile() {
  if (writer == nullptr) return;
  const bool own = writer == state_->fileWriter;
  Writer closing(std::exchange(writer, nullptr));
  xmlTextWriterEndDocument(closing.get());
  if (own && state_->sync.IsOn()) SyncDocument();
  closing.reset();
  state_->fileWriter = nullptr;
  if (own && GetWriteError() == 0) state_->closedFile = fileName;
}

int WKOutputFile::WriteStartRecord(const char* recordElement) {
  if (writer == nullptr) return 1;
  RotateWhenFull();
  return WriteStartElement(recordElement);
}

void WKOutputFile::RotateWhenFull() {
  if (recordCount != thresholdLimit) return;
  if (ThresholdLimitReached() != 0) {
    wkagent::CopyBounded(errorText, "Error in new file");
    Report();
  }
  recordCount = 0;
}

int WKOutputFile::WriteStartElement(const char* name) {
  const int result = xmlTextWriterStartElement(writer, Xml(name));
  const bool named = name != nullptr && name[0] != '\0';
  const bool forgotten = named && state_->HasForgotten(writer, result);
  if (forgotten && state_->writeError == 0) state_->writeError = ENOMEM;
  if (result >= 0 && !forgotten) {
    ++state_->level;
    return 0;
  }
  wkagent::FormatBounded(errorText, "Error in start element %s\n", wkagent::TextOrEmpty(name));
  Report();
  return 1;
}

int WKOutputFile::WriteElementAttribute(const char* name, const char* value) {
  xmlResetLastError();
  const int result = xmlTextWriterWriteAttribute(writer, Xml(name), Xml(value));
  if (result >= 0 && !wkagent::RanOutOfMemory()) return 0;
  wkagent::FormatBounded(errorText, "Error writing attribute %s - Value %s Error: %d\n",
                         wkagent::TextOrEmpty(name), wkagent::TextOrEmpty(value), result);
  Report();
  return 1;
}

int WKOutputFile::WriteEndElement() {
  if (xmlTextWriterEndElement(writer) >= 0) {
    --state_->level;
    state_->elementEnded = true;
    return 0;
  }
  wkagent::CopyBounded(errorText, "Error in end element\n");
  Report();
  return 1;
}

int WKOutputFile::WriteEndRecord() {
  WriteEndElement();
  ++recordCount;
  if (state_->sync.IsOn()) SyncAfterRecord();
  return 0;
}

int WKOutputFile::ThresholdLimitReached() {
  if (recordCount == 0) return 0;
  state_->nameSynced = true;  // the file gets another one at once, which is synced
  CloseFile();
  const int writeError = GetWriteError();
  const int result = OpenFile();
  if (writeError != 0) state_->earlierWriteError = writeError;
  return result;
}

void WKOutputFile::SetThresholdLimit(int limit) { thresholdLimit = limit; }

char* WKOutputFile::GetError() { return errorText; }

int WKOutputFile::GetWriteError() {
  return state_->earlierWriteError != 0 ? state_->earlierWriteError : state_->writeError;
}

void WKOutputFile::Report() { LogStatus(errorText); }
