#ifndef WKAGENT_OUTPUT_H
#define WKAGENT_OUTPUT_H

// Audit output files: kept events as XML records, in files that are archived into the outbox.
//
// WKOutputFile writes one live file. Once it holds a set number of records, the file is closed,
// moved to "../outbox" under a name made of the root element's first three letters and the local
// time ("EDA20261115082205.xml"), and a new live file is begun. WKEDAOutputFile writes one
// tagWKEventData as one "EDADataRecord" element, WKELAOutputFile as one "ELADataRecord".
//
//   WKEDAOutputFile output(liveFile, "EDAuditData", "EDADataRecords");
//   output.SetSafeArchive(true);
//   if (output.OpenFile() != 0) puts(output.GetError());
//   output.WriteAuditData(&event);
//   output.CloseFile();
//
// Threads: one object from one thread at a time; distinct objects write distinct files. Ownership:
// an object owns its open document; the record is only read.
//
// Unless SetSafeArchive is on, records can be lost: two archives of one second bear the same name
// and the second replaces the first, and a live file that could not be archived is overwritten by
// the next one. At the default threshold that is up to 500 records a file. And unless SetDurability
// is on, it is left to the system when records reach the disk: a power failure can take the latest
// ones, and with them parts of files that were archived already.

#include <cstdint>
#include <ctime>
#include <memory>

#include <wkagent/core.h>
#include <wkagent/export.h>

struct _xmlTextWriter;
struct tagWKEventData;

namespace wkagent {
struct Move;
}  // namespace wkagent

// WKOutputFile writes records as the elements of an XML document, counts them and rotates the file.
// It owns the open document; one thread at a time may use an object. Each error and notice is put
// into `errorText` and handed to LogStatus.
//
// Order of calls: construct, OpenFile, then for each record WriteStartRecord, any number of
// WriteElementAttribute, WriteEndRecord; at the end CloseFile or destruction.
class WKAGENT_EXPORT WKOutputFile : public WKLogStatus {
 public:
  // Copies the path of the live file (up to 254 bytes), the name of the root element and that of
  // the element inside it which holds the records (up to 24 bytes each). Opens nothing.
  WKOutputFile(char* file, const char* root, const char* group);

  // Closes an open document; it is not archived. Not virtual.
  ~WKOutputFile();

  WKOutputFile(const WKOutputFile&) = delete;
  WKOutputFile& operator=(const WKOutputFile&) = delete;

  // Begins a new document. What the live file held before is archived, or removed when it is
  // smaller than 64 bytes. Returns 0, or 1 with no document open. Deliberate: a document that is
  // still open is not completed first.
  int OpenFile();

  // Completes and closes the document; the file keeps its live name. Does nothing when none is
  // open.
  void CloseFile();

  // Begins a record, rotating the file first when it holds `thresholdLimit` records. Returns 0, or
  // 1 when no document is open, which is not logged, or when the element cannot be written.
  int WriteStartRecord(const char* recordElement);

  // Each writes a part of a record through libxml2, which escapes values. Values are UTF-8. Returns
  // 0, or 1 with the error logged.
  int WriteStartElement(const char* name);
  int WriteElementAttribute(const char* name, const char* value);
  int WriteEndElement();

  // Ends a record and counts it. Deliberate: always 0, and counted also when ending it failed.
  int WriteEndRecord();

  // Closes the document and begins the next one, with OpenFile's result. Deliberate: with no record
  // counted it does nothing and returns 0, so a threshold of 0 or less never rotates.
  int ThresholdLimitReached();

  // Moves the live file into the outbox and logs it, or the failure. Returns 0 or -1.
  int RenameLog();

  // Stores the number of records a file, as is.
  virtual void SetThresholdLimit(int limit);

  // The text of the last error or notice, empty when there was none.
  char* GetError();

  // Off unless called with true. When on, no record is lost by archiving: an archive never replaces
  // another (one that would is named "EDA20261115082205_0001.xml", and so on); a live file that
  // cannot be archived is set aside under "<live file>.<stamp>_<number>.pending", also when it was
  // left by an earlier process, and OpenFile and RetryArchive try again; OpenFile fails rather than
  // overwrite records; a file is removed when it holds no record and kept when it does, whatever
  // its size; and a file that its writer could not complete is cut after its last whole record and
  // completed, and loses what a power failure filled with zero bytes. A live file then has the mode
  // 0640, whatever the umask, and what others have put in its way stays as it is: links, files with
  // a second name, and what is no file at all.
  void SetSafeArchive(bool safe);

  // Tries again to archive what was set aside, oldest first. Returns the number of files that are
  // still set aside.
  int RetryArchive();

  // The number of files that this object has archived.
  int GetArchivedCount();

  // Writes what is buffered, up to 36 KiB, to the file, so that others can read it. Returns 0, or 1
  // when that fails or no document is open. The file is not complete XML before CloseFile.
  int FlushFile();

  // The errno of the first write to the live file that failed since OpenFile, 0 when none did. A
  // failed write leaves a file that is not complete. With SetDurability, what could not be put on
  // the disk counts as a failed write.
  int GetWriteError();

  // Off unless called with a positive number; what is not positive has no effect. When on, records
  // are on the disk (fdatasync) after this many records, or when the first that is not has waited
  // for this long, and so is each file before it is archived or set aside, and its new name after
  // it. There is no thread: the time is looked at when a record is written and by FlushFile.
  void SetDurability(int records, int milliseconds);

  // Writes what is buffered to the file and puts it on the disk, also where SetDurability is off.
  // Returns 0, or 1 when that fails or no document of OpenFile is open.
  int SyncFile();

  _xmlTextWriter* writer;  // null when no document is open
  int thresholdLimit;
  int recordCount;
  char rootElement[25];
  char groupElement[25];
  char fileName[255];
  char errorText[500];

 protected:
  // Writes one whole record, with the attributes that `layout` names.
  template <typename Layout>
  int WriteRecord(const char* element, const tagWKEventData& event, Layout layout);

 private:
  class State;

  void RotateWhenFull();
  void SyncAfterRecord();
  void SyncDocument();
  void SyncMove(const char* to);

  void Report();
  int ArchiveFile(const char* from, const char* stamp);
  wkagent::Move ArchiveToFreeName(const char* from, const char* stamp);
  bool ClearLiveFile();
  bool MoveLiveFile();
  bool CompleteLiveFile();

  std::unique_ptr<State> state_;
};

// The record of one event, filled by the host and only read by the writers. Texts end with a zero
// byte; a text without one is taken as long as its field.
struct tagWKEventData {
  char reserved1[12];  // the host's own
  std::uint16_t EventID;
  std::int64_t Status;
  char reserved2[12];  // the host's own
  char UserName[300];
  char NodeAddress[50];
  char Class1[64];
  char Object1[300];
  char Attribute1[128];
  char AttributeValue[300];
  char Class2[64];
  char Object2[300];
  char ServerName[128];
  char TreeName[128];
  time_t EventTime;  // seconds since 1970 UTC
};

// WKEDAOutputFile writes directory events. Ownership and threads as WKOutputFile.
class WKAGENT_EXPORT WKEDAOutputFile : public WKOutputFile {
 public:
  WKEDAOutputFile(char* file, const char* root, const char* group);

  // Writes one "EDADataRecord". Dates are "%Y-%m-%dT%X"; deliberate: "InsertDate" is the event's
  // local time, as "LogDate" is, and `Status` is written as its low 32 bits, signed. Returns 0;
  // an attribute that fails is logged and the record goes on.
  int WriteAuditData(tagWKEventData* event);

  // Copies the category of an event code into `category`, which has room for 22 bytes; any code
  // without a category leaves it as it was. Deliberate: 20008 and 20009 give "Security
  // Equivalances".
  void GetCategory(unsigned short eventCode, char* category);
};

// WKELAOutputFile writes login and logout events. Ownership and threads as WKOutputFile.
class WKAGENT_EXPORT WKELAOutputFile : public WKOutputFile {
 public:
  WKELAOutputFile(char* file, const char* root, const char* group);

  // Writes one "ELADataRecord", by the rules of WKEDAOutputFile::WriteAuditData. Its category is
  // "Login" for event code 21001; deliberate: "Logout" for any other.
  int WriteAuditData(tagWKEventData* event);
};

#endif  // WKAGENT_OUTPUT_H
