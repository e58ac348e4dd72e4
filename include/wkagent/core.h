#ifndef WKAGENT_CORE_H
#define WKAGENT_CORE_H

// Core utilities: the list, the status log, the status files and the event queue.
//
// CLinkList is the one list type of the library. It keeps copies of blocks of bytes and is read
// through its own cursor. WKLogStatus is the base of nearly every other class: through it an object
// hands its status and error texts to the host's callback, or to standard error where the host has
// installed none. WKStatusMessage and WKStatusFile leave traces for the operator: lines in a text
// file, and empty marker files in the outbox. WKAlert is the base of the alert senders.
// ClsMemManager passes events between threads without allocating while they flow; CSemaphore wakes
// the thread that takes them, and CWKNanoDelay lets one pause.
//
//   CLinkList names;
//   names.AddNode(const_cast<char*>("bob"), 3);
//   char buffer[16] = {};
//   names.SetHead();
//   while (names.GetNode(buffer, sizeof(buffer)) == 0) puts(buffer);
//
// Threads: distinct objects may be used from distinct threads at the same time; one object from one
// thread at a time, but for ClsMemManager and CSemaphore, which say more. Ownership: every object
// owns what it copied; the list of objects is the one exception and says so below. Listed data
// members stand open, as derived classes of the hosts expect them; read them freely, change them
// through the methods.
//
// docs/conventions.md holds what is true of every method unless its comment says otherwise: texts
// are copied, null texts are ignored, texts longer than their buffer are cut, nothing throws.

#include <cstdint>
#include <ctime>
#include <memory>

#include <pthread.h>
#include <semaphore.h>

#include <wkagent/export.h>

namespace wkagent {

// OwnedString is a text on the heap that may be unset: a `char*` member that releases itself.
// It owns its characters; one thread at a time may use it. A pointer taken from it is valid until
// the next call of Assign or Reset and until the object ends.
class WKAGENT_EXPORT OwnedString {
 public:
  // Replaces the text by a copy of `text`; null unsets it. `text` may be the object's own text.
  void Assign(const char* text);

  // Unsets the text.
  void Reset() { text_.reset(); }

  // The text, null when unset. The conversion lets the object stand where a `char*` is expected.
  char* Get() const { return text_.get(); }
  operator char*() const { return text_.get(); }

 private:
  std::unique_ptr<char[]> text_;
};

}  // namespace wkagent

// One node of a CLinkList. `data` is the node's own copy of the block, `size` bytes from `new
// char[size]`; `next` is null at the tail and `prev` at the head.
struct tagLinkList {
  tagLinkList* next;
  tagLinkList* prev;
  int size;
  char* data;
};

// CLinkList is a doubly linked list of copied blocks of bytes with one built-in cursor. It owns its
// nodes and their blocks, but not the objects that blocks of 8 bytes may point to: ClearElements
// and ClearList(int) release those. It has no lock: one thread at a time, or the owner's lock.
//
// To read a list call SetHead, then GetNode until it returns non-zero. A list of objects stores the
// 8-byte pointer as the block; the objects must come from `new`.
class WKAGENT_EXPORT CLinkList {
 public:
  CLinkList();

  // Releases the nodes as ClearList() does.
  ~CLinkList();

  CLinkList(const CLinkList&) = delete;
  CLinkList& operator=(const CLinkList&) = delete;

  // Appends a copy of the `size` bytes at `data`. On an empty list the new node also becomes the
  // one that GetNode returns next. A negative size counts as 0; a null `data` gives a block of
  // zeros. Returns 0.
  int AddNode(void* data, int size);

  // Appends like AddNode unless a node's block begins with the same `size` bytes. A block shorter
  // than `size` is never equal; a longer one is compared in its first `size` bytes. Returns 0 in
  // either case.
  int AddExclusiveNode(void* data, int size);

  // Copies the block under the cursor into `buffer` and moves the cursor on. Returns 0, or 1 at the
  // end of the list. Deliberate: a block larger than `bufferSize` also gives 1 and the cursor
  // stays, so a reading loop with a small buffer ends at that node.
  int GetNode(void* buffer, int bufferSize);

  // The number of nodes.
  int GetCount();

  // The size in bytes of the block under the cursor, 0 at the end of the list.
  int GetNodeDataSize();

  // Moves the cursor to the first or to the last node.
  void SetHead();
  void SetTail();

  // True when the cursor has passed the last node.
  bool IsEndOfList();

  // 1 when the cursor is not at the tail, else 0.
  int TailChanged();

  // Overwrites the block most recently returned by GetNode with as many bytes of `data` as the
  // block holds. Deliberate: `size` is ignored, so `data` must hold that many. Nothing happens
  // before the first GetNode.
  void UpdateNode(void* data, int size);

  // Releases a node and its block and lowers the count. It does not unlink the node: it is for
  // nodes that GetHeadListNode detached. Null is ignored.
  void FreeNode(tagLinkList* node);

  // Releases every node. Objects that blocks point to stay alive.
  void ClearList();

  // Reads the first 8 bytes of every node as a pointer and releases that object's memory.
  // Deliberate: no destructor runs, so the caller first releases what the object itself owns. The
  // nodes stay, their pointers become null, and the cursor is at the head.
  void ClearElements();

  // ClearElements, then ClearList(). The argument only selects this overload.
  void ClearList(int);

  // Marks the node most recently returned by GetNode as the place that a sort fills next.
  void SetSortPosition();

  // Moves the cursor to the node after the marked one.
  void RestoreSortPosition();

  // Exchanges the marked node with the one most recently returned by GetNode, which must not stand
  // before it. The latter takes the mark and is returned; null when either is missing.
  tagLinkList* SwitchSortPosition();

  // Detaches the first node and returns it, null on an empty list. The caller owns it and hands it
  // to AddListNode or FreeNode. Deliberate: tail and cursor stay, also when they name this node.
  tagLinkList* GetHeadListNode();

  // Appends a detached node and takes it over; null is ignored. Deliberate: unlike AddNode it
  // leaves the cursor alone, also on an empty list.
  void AddListNode(tagLinkList* node);

  // A number that changes with every change of the nodes, their order or their blocks by a method.
  std::uint32_t GetRevision() const { return revision_; }

  // Lets filters notice every change from now on. For lists of filter statements, whose filter
  // calls it.
  void Watch() { watched_ = 1; }

  tagLinkList* head;
  tagLinkList* tail;
  tagLinkList* current;       // what GetNode returns next
  tagLinkList* last;          // what GetNode returned most recently
  tagLinkList* sortPosition;  // null until SetSortPosition
  int count;
  // The library's own, public only as the class has a standard layout.
  std::uint32_t revision_ : 31;
  std::uint32_t watched_ : 1;

 private:
  void Append(tagLinkList* node);
  void Changed();
};

// WKLogStatus carries the host's log callback; nearly every class derives from it. It owns nothing;
// one thread at a time may use an object.
class WKAGENT_EXPORT WKLogStatus {
 public:
  // No callback is installed.
  WKLogStatus();
  ~WKLogStatus();

  // Installs the host's callback; null removes it. The callback runs in the thread whose call
  // caused the message, with no lock of the library held. The texts are valid during the call only.
  // It may call other objects of the library, and must not throw.
  void InitializeLogMessage(void (*callback)(int, char*, char*));

  // Hands `message` to the callback, with level 0 and an empty third text. Without a callback it
  // goes to standard error. Deliberate: there it serves as its own format, so "%%" prints one "%";
  // a conversion that would need an argument is printed as it stands. Null is ignored.
  void LogStatus(char* message);

  void (*logCallback)(int, char*, char*);
};

// The line that WKStatusMessage::WriteMessage writes. An `errorCode` of 0 is a plain status line;
// with any other, `functionName` says what failed.
struct tagStatusMessage {
  int errorCode;
  char message[300];
  char functionName[128];
};

// WKStatusMessage appends time-stamped lines to a text file for the operator. It owns its copy of
// the path and keeps no file open; one thread at a time may use an object.
class WKAGENT_EXPORT WKStatusMessage {
 public:
  // `file` is the path, up to 4,095 bytes.
  explicit WKStatusMessage(char* file);

  // Appends "mm/dd/yyyy - HH:MM:SS " in local time, the message and, for an error, the function and
  // its code. Deliberate: the line ends with "\n\r" in this order. A file that cannot be opened is
  // reported on standard error.
  void WriteMessage(tagStatusMessage* record);

  char path[4096];
};

// WKStatusFile creates an empty, time-stamped marker file in the outbox. It owns its copy of the
// name; one thread at a time may use an object.
class WKAGENT_EXPORT WKStatusFile : public WKLogStatus {
 public:
  // `name` is the first part of the file's name, up to 127 bytes.
  explicit WKStatusFile(char* name);

  // Fills `timeStamp` with the local time as 14 digits, year first.
  void GetTimeDateString();

  // Creates "../outbox/NAME.STAMP.xml", or renews its time where it exists, by the command `touch`;
  // the command's text goes to LogStatus first. Returns the command's exit status as system(3)
  // does, 0 on success. A name that a shell would not take as one plain word never meets a shell.
  int CreateFile();

  char fileName[128];
  char command[256];
  char timeStamp[64];
};

// WKCommands says whether the library may run commands: `touch` for a marker file, `rm` for a spool
// file that was sent. It may, unless the host forbids it, as one must that is confined to a set of
// system calls or to a folder without a shell. It owns nothing; any thread may call.
class WKAGENT_EXPORT WKCommands {
 public:
  // Off unless called with true: then the library does itself, in the whole process, what the
  // commands would do, with the same results: 0, or 256, which is the exit status 1 as system(3)
  // has it. A marker is then created with mode 0640, and neither links nor pipes are touched.
  static void SetForbidden(bool on);
};

// WKAlert is the base of the alert senders. It owns its two texts; one thread at a time may use an
// object.
class WKAGENT_EXPORT WKAlert : public WKLogStatus {
 public:
  WKAlert();
  ~WKAlert();

  char statusText[256];  // where a sender formats what it logs
  char message[256];     // the alert text, zero-terminated
};

// ClsMemManager is a pool of equal blocks and a first-in-first-out queue of those in use: a
// producer copies an event into a free block, a consumer copies it out, and the block is free
// again. It owns its blocks. AddToQ, GetData and the counts may be called from any threads at the
// same time; Initialize and Free while no other thread uses the pool. Neither AddToQ nor GetData
// allocates.
class WKAGENT_EXPORT ClsMemManager {
 public:
  // An empty pool.
  ClsMemManager();

  // Frees the pool.
  ~ClsMemManager();

  ClsMemManager(const ClsMemManager&) = delete;
  ClsMemManager& operator=(const ClsMemManager&) = delete;

  // Adds `count` free blocks, each a copy of the `size` bytes at `blockTemplate`; 0 or less adds
  // none. Returns 0 when mutex and blocks were set up, else 1 with the blocks that could be. Called
  // again it adds further blocks, which must be of the same size.
  int Initialize(int count, void* blockTemplate, int size);

  // Copies a block's size of bytes from `data` into the queue. Returns 0, or 1 when no block is
  // free; nothing is queued then.
  int AddToQ(void* data);

  // Copies the oldest queued block to `target` and frees it, cleared to zeros. Returns 0, or 1 when
  // the queue is empty; `target` stays as it was then.
  int GetData(void* target);

  // How many blocks are free and queued. Read without lock: they may be behind by one operation.
  unsigned int GetFreeMemoryBlocks();
  unsigned int GetUsedBlocks();

  // Releases every block, the queued ones with their data.
  void Free();

  CLinkList freeList;
  CLinkList usedList;
  std::uint32_t freeBlocks;
  std::uint32_t usedBlocks;
  pthread_mutex_t mutex;
  bool mutexReady;

 private:
  void RefreshCounts();
};

// CSemaphore owns an unnamed POSIX semaphore that is shared by the threads of the process. Post and
// Wait may be called from any threads at the same time; Open, Close and the end of the object while
// no other thread uses it.
class WKAGENT_EXPORT CSemaphore {
 public:
  // Closed.
  CSemaphore();

  // Closes an open semaphore.
  ~CSemaphore();

  CSemaphore(const CSemaphore&) = delete;
  CSemaphore& operator=(const CSemaphore&) = delete;

  // Opens the semaphore with a count; an open one stays as it is. Deliberate: returns 1 when it is
  // open, 0 when it could not be opened; `errorText` then tells why.
  int Open(int initialValue);

  // sem_post(3) and sem_wait(3), with their results: 0 on success. 1 when the semaphore is closed.
  int Post();
  int Wait();

  // Closes the semaphore. Returns the result of sem_destroy(3), 0 when it was closed already.
  int Close();

  sem_t semaphore;
  std::uint32_t isOpen;
  char errorText[64];
};

// CWKNanoDelay is a pause of less than a second. It owns nothing; one thread at a time may use an
// object.
class WKAGENT_EXPORT CWKNanoDelay {
 public:
  // A delay of 1 to 999,998,999 nanoseconds; any other value gives 999,999,000.
  explicit CWKNanoDelay(long nanoseconds);

  // Deliberate: the reverse of the constructor. A value from 1 to 999,998,999 gives 999,999,000,
  // any other is stored as it is. Returns 999,999,000.
  long SetDelay(long nanoseconds);

  // The stored delay in nanoseconds.
  long GetDelaySetting();

  // Pauses by nanosleep(2) and returns its result: -1 with errno for a delay that it refuses, and
  // when a signal interrupts it.
  int Sleep();

  std::int64_t delay;
  timespec sleepTime;
};

#endif  // WKAGENT_CORE_H
