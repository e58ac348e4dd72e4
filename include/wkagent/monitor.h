#ifndef WKAGENT_MONITOR_H
#define WKAGENT_MONITOR_H

// File monitors: which files of a directory have been written.
//
// Both classes watch directories by inotify(7) for files that were open for writing and have been
// closed, and report those whose names match a list of patterns. WKFileMonitor is asked by the host
// whenever that suits it; WKFileMonitor1 looks from a thread of its own, at a set interval, and
// calls the host's function. Names are bare file names without a directory.
//
//   WKFileMonitor monitor;
//   monitor.SetDirectoryToMonitor(directory);
//   monitor.AddFileToMonitor(pattern);
//   CLinkList changed;
//   if (monitor.IsFileModified(changed) > 0) printf("%d files\n", changed.GetCount());
//
// In a pattern "*" stands for any run of characters, also none, and "?" for one character; case
// counts, and the pattern covers the whole name. For WKFileMonitor this holds only of patterns with
// a "*"; any other stands for itself alone.
//
// Threads: a WKFileMonitor belongs to one thread at a time. Of a WKFileMonitor1 see its class.
// Ownership: a monitor owns its descriptors, patterns and thread.
//
// The system keeps a limited number of pending events (/proc/sys/fs/inotify/max_queued_events) and
// drops those that come later. Deliberate: only FindModifiedFiles makes up for that.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <pthread.h>

#include <wkagent/core.h>
#include <wkagent/export.h>

// WKFileMonitor watches one directory and answers when it is asked. It owns its descriptor and its
// patterns; one thread at a time may use an object. Results are 0 for success and 1 for failure
// unless a method says otherwise; a failure is printed by perror(3) and logged.
class WKAGENT_EXPORT WKFileMonitor : public WKLogStatus {
 public:
  // Opens inotify. Where that fails, every later call fails.
  WKFileMonitor();
  ~WKFileMonitor();

  WKFileMonitor(const WKFileMonitor&) = delete;
  WKFileMonitor& operator=(const WKFileMonitor&) = delete;

  // Watches a directory, once an object. Deliberate: a directory that cannot be watched also counts
  // as set.
  int SetDirectoryToMonitor(char* path);

  // Appends a pattern; of a long one, 64 bytes count.
  int AddFileToMonitor(char* pattern);

  // 1 when the pattern matches the name, by the rules above, else 0.
  int wildcmp(const char* pattern, const char* name);

  // 1 when one of the patterns matches the name, else 0.
  int NotificationRequired(char* name);

  // Reads pending events, at most 32,768 bytes of them, without waiting, and appends a node of 50
  // bytes for each file that matches: its name, padded with zeros. Deliberate: a longer name is cut
  // and has no terminator. Returns the length of the last event's padded name, or what read(2)
  // returned when that is 0 or less: -1 when nothing is pending.
  int IsFileModified(CLinkList& changedFiles);

  // The same for all that is pending, and no file is missed: where so many events were pending that
  // the system dropped some, each file of the directory that matches counts as written. Appends a
  // node for each name once, in ascending order. Returns their number; -1, with the reason logged,
  // where the directory could not be listed, so that any file may have been written.
  int FindModifiedFiles(CLinkList& changedFiles);

  CLinkList patterns;  // without terminators
  int inotifyFd;
  int watchDescriptor;
  wkagent::OwnedString directory;
  char errorText[512];
};

// WKFileMonitor1 watches up to three directories from a thread of its own. One object a process is
// the intended use: the callback and the descriptor that threads read are the process's, and a new
// object takes both over.
//
// Order of calls: construct, RegisterCallBack, SetTimeout, SetDirectoryToMonitor, AddFileToMonitor,
// StartMonitoring. All methods are for one host thread; while the monitoring thread runs, only
// SetTimeout, GetTimeout and TerminateThread may be called. It owns its descriptor, patterns and
// thread.
class WKAGENT_EXPORT WKFileMonitor1 : public WKLogStatus {
 public:
  // Opens inotify and unregisters the callback. Where opening fails, that is printed by perror(3).
  WKFileMonitor1();

  // Ends and joins the thread, if it was started.
  ~WKFileMonitor1();

  WKFileMonitor1(const WKFileMonitor1&) = delete;
  WKFileMonitor1& operator=(const WKFileMonitor1&) = delete;

  // Registers the function that is called for each file. Returns 0, or 1 when there is one already.
  // It runs on the monitoring thread with no lock held, its text is valid during the call, and it
  // must not throw nor destroy the monitor.
  int RegisterCallBack(void (*callback)(char*));

  // The time between two looks, in seconds. Deliberate: it is kept in steps of 2, so 5 is 6
  // seconds; 0 does not wait.
  void SetTimeout(unsigned int seconds);
  unsigned int GetTimeout();

  // Watches one more directory. Returns 0, or 1 when three are watched or this one cannot be, which
  // is printed by perror(3).
  int SetDirectoryToMonitor(char* directory);

  // Appends a pattern. Returns 0; throws std::logic_error for null.
  int AddFileToMonitor(char* pattern);

  // 1 when the pattern matches the name, by the rules above, else 0.
  int wildcmp(const char* pattern, const char* name);

  // 1 when one of the patterns matches the name, else 0.
  int NotificationRequired(char* name);

  // Starts the thread. Returns 0, EINVAL when no callback is registered, EBUSY when the thread
  // runs, or the result of pthread_create(3).
  int StartMonitoring();

  // Is the thread to end? For the thread itself; it ends nothing.
  unsigned int TerminateThread();

  // The thread; its argument is the object.
  static void* File_Monitoring_Thread(void* object);

  static void (*callback_function)(char*);
  static int gfd;  // what threads read

  std::vector<std::string> patterns;
  int inotifyFd;
  int watchDescriptors[3];
  std::uint32_t watchCount;
  std::uint32_t timeout;
  std::uint32_t terminate;
  pthread_t thread;
  pthread_attr_t threadAttributes;

 private:
  class State;

  bool WaitForTurn();
  void ReportEvents();

  std::unique_ptr<State> state_;
};

#endif  // WKAGENT_MONITOR_H
