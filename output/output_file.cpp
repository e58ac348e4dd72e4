#include <cerrno>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <libxml/xmlwriter.h>
#include <sys/stat.h>

#include <wkagent/output.h>

#include "config/xml_library.h"
#include "core/bounded_copy.h"
#include "core/printed_text.h"
#include "core/time_stamp.h"
#include "output/live_file.h"
#include "output/output_state.h"
#include "output/safe_archive.h"
#include "output/unfinished_file.h"

namespace {

constexpr int kDefaultThreshold = 500;
constexpr off_t kSmallestArchive = 64;  // what is smaller holds no record

struct WriterFreer {
  void operator()(xmlTextWriter* writer) const { xmlFreeTextWriter(writer); }
};
using Writer = std::unique_ptr<xmlTextWriter, WriterFreer>;

const xmlChar* Xml(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

std::string StampNow() { return wkagent::FormatTimeStamp(std::time(nullptr)).data(); }

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

WKOutputFile::~WKOutputFile() { CloseFile(); }

int WKOutputFile::OpenFile() {
  // A document that is still open is not completed, only released; what it had not yet written
  // goes to the file that has been moved or removed by then, or, where no record may be lost, into
  // it before that.
  Writer previous(std::exchange(writer, nullptr));
  if (state_->safe) previous.reset();
  const bool cleared = ClearLiveFile();
  previous.reset();
  recordCount = 0;
  state_->earlierWriteError = 0;
  state_->writeError = 0;
  state_->level = 0;
  state_->elementEnded = false;
  if (!cleared) return 1;

  writer = wkagent::NewFileWriter(fileName, &state_->writeError, &state_->buffer);
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

// Archives or removes what stands under the live name. False when it must stay, so that no new
// document may be begun.
bool WKOutputFile::ClearLiveFile() {
  if (state_->safe) RetryArchive();
  struct stat status {};
  if (stat(fileName, &status) != 0) return true;
  if (state_->safe && status.st_size > 0) {
    if (!CompleteLiveFile()) return false;
    if (stat(fileName, &status) != 0) return true;
  }
  bool worthKeeping = status.st_size >= kSmallestArchive;
  if (state_->safe) {
    worthKeeping = worthKeeping ? !wkagent::IsEmptyDocument(fileName, rootElement, groupElement)
                                : wkagent::MayHoldRecord(fileName);
  }
  if (!worthKeeping) {
    std::remove(fileName);
    return true;
  }
  if (RenameLog() == 0 || !state_->safe) return true;

  const wkagent::Move move = wkagent::SetAside(fileName, StampNow());
  if (move.error == 0) return true;
  wkagent::FormatBounded(errorText, "Cannot set aside %s as %s Error Code:%d", fileName,
                         move.to.c_str(), move.error);
  Report();
  return false;
}

// False when the live file is no XML and cannot be made so.
bool WKOutputFile::CompleteLiveFile() {
  switch (wkagent::CompleteFile(fileName, rootElement, groupElement)) {
    case wkagent::Completion::kWasComplete:
      return true;
    case wkagent::Completion::kCompleted:
      wkagent::FormatBounded(errorText, "Completed unfinished file %s", fileName);
      Report();
      return true;
    case wkagent::Completion::kFailed:
      break;
  }
  wkagent::FormatBounded(errorText, "Cannot complete unfinished file %s", fileName);
  Report();
  return false;
}

void WKOutputFile::CloseFile() {
  if (writer == nullptr) return;
  const Writer closing(std::exchange(writer, nullptr));
  xmlTextWriterEndDocument(closing.get());
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
  return 0;
}

int WKOutputFile::ThresholdLimitReached() {
  if (recordCount == 0) return 0;
  CloseFile();
  const int writeError = GetWriteError();
  const int result = OpenFile();
  state_->earlierWriteError = writeError;
  return result;
}

int WKOutputFile::RenameLog() { return ArchiveFile(fileName, StampNow().c_str()); }

int WKOutputFile::ArchiveFile(const char* from, const char* stamp) {
  const wkagent::Move move =
      state_->safe ? ArchiveToFreeName(from, stamp) : wkagent::Archive(from, rootElement, stamp);
  if (move.error == 0) {
    ++state_->archived;
    wkagent::FormatBounded(errorText, "Created archive file %s", move.to.c_str());
  } else {
    wkagent::FormatBounded(errorText, "Rename error - From:%s To %s Error Code:%d", from,
                           move.to.c_str(), move.error);
  }
  Report();
  return move.error == 0 ? 0 : -1;
}

wkagent::Move WKOutputFile::ArchiveToFreeName(const char* from, const char* stamp) {
  const bool sameSecond = state_->latestStamp == stamp;
  wkagent::Move move = wkagent::ArchiveWithoutReplacing(from, rootElement, stamp,
                                                        sameSecond ? state_->nextNumber : 0);
  if (move.error == 0) {
    state_->latestStamp = stamp;
    state_->nextNumber = move.number + 1;
  }
  return move;
}

void WKOutputFile::SetThresholdLimit(int limit) { thresholdLimit = limit; }

char* WKOutputFile::GetError() { return errorText; }

void WKOutputFile::SetSafeArchive(bool safe) { state_->safe = safe; }

int WKOutputFile::RetryArchive() {
  const std::vector<std::string> files = wkagent::FilesSetAside(fileName);
  int left = static_cast<int>(files.size());
  for (const std::string& file : files) {
    if (ArchiveFile(file.c_str(), wkagent::StampOf(fileName, file).c_str()) != 0) break;
    --left;
  }
  return left;
}

int WKOutputFile::GetArchivedCount() { return state_->archived; }

int WKOutputFile::FlushFile() { return xmlTextWriterFlush(writer) < 0 ? 1 : 0; }

int WKOutputFile::GetWriteError() {
  return state_->earlierWriteError != 0 ? state_->earlierWriteError : state_->writeError;
}

void WKOutputFile::Report() { LogStatus(errorText); }
