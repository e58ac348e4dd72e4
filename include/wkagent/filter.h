#ifndef WKAGENT_FILTER_H
#define WKAGENT_FILTER_H

// Event filters: which events are kept, and which alerts a kept event raises.
//
// A filter is an ordered list of statements, read from a filter file. A statement says which events
// it covers (who, from where, when, which operation on which object) and whether it includes or
// excludes them. An event is kept when at least one statement covers it and none that covers it
// excludes it. While it decides, the filter gathers the alerts of the covering statements.
// WKFilterStatement and WKFilter hold what all kinds share; WKEDAFilterStatement, WKEDAFilter and
// WKEdaConfig are the statements, the filter and the filter file reader of directory events;
// WKELAFilterStatement, WKELAFilter and WKElaConfig those of logins and logouts.
//
//   WKEDAFilter filter(fileName);  // reads ../config/<fileName>
//   if (filter.GetReadError() != nullptr) puts(filter.GetReadError());
//   if (filter.PassFilter(20001, user, node, object, className, nullptr, nullptr)) {
//     printf("kept, %d alerts\n", filter.alerts.GetCount());
//   }
//
// Threads: a filter and its statements belong to one thread at a time; distinct filters may work in
// distinct threads. Ownership: a filter owns its statements and the alerts it gathered, which live
// until its next decision. Statements come from `new`; a reader hands them over to the filter.
//
// What a decision needs of the lists and statements is prepared when they have changed, so change
// them by methods once a filter has decided with them; the time window and the alerts may be
// assigned.
//
// Names of users, objects and contexts are dotted (admin.sales.acme). Names in comma form
// (CN=admin,OU=sales,O=acme) are converted when they are added.

#include <cstdint>
#include <ctime>
#include <memory>
#include <string>

#include <wkagent/alert.h>
#include <wkagent/config.h>
#include <wkagent/core.h>
#include <wkagent/export.h>

namespace wkagent {
class ListMatcher;
class StatementIndex;
struct StatementShape;
}  // namespace wkagent

// WKFilterStatement is the part that all statements share: flags, time window, users, nodes and
// alert settings, all of which it owns. One thread at a time may use an object.
class WKAGENT_EXPORT WKFilterStatement : public WKLogStatus {
 public:
  // Every flag false, both times 0, no title, empty lists, inactive alerts.
  WKFilterStatement();

  WKFilterStatement(const WKFilterStatement&) = delete;
  WKFilterStatement& operator=(const WKFilterStatement&) = delete;

  // Prints the statement to standard output, one item a line.
  virtual void PrintfFilter();

  // True when the statement is enabled, its time window is open, and user and node are covered.
  // A null user or node is covered only where the statement has no such restriction.
  virtual bool PassStatement(char* user, char* node);

  // Releases all that the statement owns: title, lists and the texts of its alert settings. For
  // owners that release a statement's memory without running its destructor.
  virtual void ReleaseOwned();

  virtual ~WKFilterStatement();

  // Each stores one setting.
  void SetTitle(char* text);
  void SetEnableFlag(bool on);
  void SetIncExFlag(bool on);
  void SetAllDayFlag(bool on);
  void SetAllUserFlag(bool on);
  void SetAllNodeFlag(bool on);
  void SetExcludeAlert(bool on);

  // Stores both bounds of the time window, converted from local time as mktime(3) does.
  void SetTime(tm* start, tm* end);

  // Each forwards to the alert settings.
  void SetTo(char* text);
  void SetCC(char* text);
  void SetFrom(char* text);
  void SetSubject(char* text);
  void SetSMTPAlert(bool on);
  void SetSNMPAlert(bool on);
  void SetSyslogAlert(bool on);

  // Appends a user. The name is first converted in place with ConvertToNDAPFormat.
  void AddUser(char* name);

  // Appends a node, unchanged.
  void AddNode(char* name);

  // Each answers for one setting. IsAlertActive is true when any of the three alerts is.
  bool IsEnabled();
  bool IsExcluded();
  bool IsExcludeAlert();
  bool IsSMTPAlertSet();
  bool IsSNMPAlertSet();
  bool IsSyslogAlertSet();
  bool IsAlertActive();

  // A clone of the mail settings; the caller owns it.
  WKSMTPAlertObject* GetSMTPData();

  // Unsets the title.
  void ClearTitle();

  // True when `endTime` <= now <= `startTime`. Deliberate: the bounds stand in this order, so the
  // window is open between the end and the start.
  bool PassTimeCheck();

  // EntityMatch against `users` or `nodes`.
  bool PassUserCheck(char* user);
  bool PassNodeCheck(char* node);

  // True when an entry of `list` occurs anywhere in `value`, whatever the case; null never matches.
  // Deliberate: entries are read one after another into one buffer of 300 bytes, so an entry
  // shorter than an earlier one is looked for together with the earlier one's remaining
  // characters (BOB after ADMIN.SALES is looked for as BOBIN.SALES), and an entry of more than 300
  // bytes ends the search. Moves the list's cursor.
  bool EntityMatch(char* value, CLinkList& list);

  // Converts a typed name in place from comma form to dotted form: CN=admin,OU=sales,O=acme becomes
  // admin.sales.acme. A part without "=" is dropped; the result is cut at 254 bytes. Returns
  // `name`, or null, with the name unchanged, where it has no "=".
  char* ConvertToNDAPFormat(char* name);

  // Deliberate: ignores its argument and returns 1 January 1990, 12:00:00 local daylight time.
  time_t ParseTime(char* text);

  // Writes a local time into `out`, 9 bytes. Deliberate: of "%d %H %M %S" only day, hour and minute
  // fit.
  void ConvertTime(time_t seconds, char* out);

  // Print to standard output "Title %s\n", and the entries of a list.
  void PrintTitle();
  void PrintLinkedList(CLinkList& list);

  wkagent::OwnedString title;
  bool enabled;
  bool include;
  bool allDay;
  time_t startTime;
  time_t endTime;
  bool allUsers;
  CLinkList users;  // names without terminator
  bool allNodes;
  bool excludeAlert;
  CLinkList nodes;  // names without terminator
  WKSMTPAlertObject smtpAlert;
  WKSNMPAlertObject snmpAlert;
  WKSyslogAlertObject syslogAlert;

 protected:
  // Tells filters that a setting has changed, so that they prepare anew what they decide by. Every
  // setter calls it but those of title, times and alerts.
  void Changed();

  // Sets a flag, and calls Changed.
  void Change(bool& flag, bool on);

 private:
  std::unique_ptr<wkagent::ListMatcher> userMatcher_;
  std::unique_ptr<wkagent::ListMatcher> nodeMatcher_;
};

// WKFilter is the part that all filters share: the statements and the alerts gathered for the
// current event, all of which it owns. One thread at a time may use an object.
class WKAGENT_EXPORT WKFilter : public WKLogStatus {
 public:
  // No statements; `filterPath` is "../config/" and the file name, cut at 254 bytes.
  explicit WKFilter(char* fileName);

  WKFilter(const WKFilter&) = delete;
  WKFilter& operator=(const WKFilter&) = delete;

  // CLinkList::AddNode and GetNode on the statement list, whose blocks are 8-byte pointers. The
  // filter takes over an added statement.
  virtual int AddNode(void* data, int size);
  virtual int GetNode(void* buffer, int size);

  // Releases statements and alerts. Deliberate: the memory only, after what they own; their
  // destructors do not run.
  virtual ~WKFilter();

  // WKFilterStatement::ConvertToNDAPFormat for input whose parts are separated by "." instead of
  // ",": CN=admin.OU=sales.O=acme becomes admin.sales.acme.
  char* ConvertToNDAPFormat(char* name);

  // Spools the gathered alerts with this text, each by a sender of its kind (alert.h): a mail for
  // each with addresses, and at most one trap and one syslog entry, which PassFilter gathered so.
  // The list stays as it is. The senders are gone when the call returns, and with them the current
  // objects of their classes.
  void Serialize(char* text);

  // Why the filter file could not be read, as "path:line: reason" or "path: reason"; null when the
  // last ReadFilter succeeded. Valid until the next ReadFilter.
  const char* GetReadError();

  CLinkList statements;  // 8-byte pointers to statements
  CLinkList alerts;      // 8-byte pointers to AlertWrapper objects
  char filterPath[255];
  char message[256];
  bool alertsExcluded;  // a covering statement suppressed the alerts of this event

 protected:
  // Reads the filter file with a reader of this kind and takes over its statements. Returns 0, or 1
  // with the statements as they were.
  template <typename Reader>
  int ReadStatements();

  // Releases the statements and takes over those whose pointers `fresh` holds, in its order.
  void ReplaceStatements(CLinkList& fresh);

  // Stores why the filter file could not be read; null is success.
  void SetReadError(const char* error);

  // Prints every statement.
  void PrintStatements();

  // What is prepared for decisions by many statements, null where there are few.
  wkagent::StatementIndex* PreparedIndex(wkagent::StatementShape (*describe)(WKFilterStatement&));

 private:
  std::string readError_;
  std::unique_ptr<wkagent::StatementIndex> index_;
};

// WKEDAFilterStatement is a statement about directory events. It adds the operations, the container
// (context), and lists of objects, classes, attributes and values, all of which it owns. One thread
// at a time may use an object.
class WKAGENT_EXPORT WKEDAFilterStatement : public WKFilterStatement {
 public:
  // All flags false but `allNodes`: directory statements never restrict by node.
  WKEDAFilterStatement();
  ~WKEDAFilterStatement() override;

  // Prints the statement to standard output. Deliberate: operations are printed as their code
  // minus 1.
  void PrintfFilter() override;

  void ReleaseOwned() override;

  using WKFilterStatement::PassStatement;

  // True when the statement covers the event. `operation` is a code from 20001 to 20016; any other
  // is covered only by a statement on all operations. `object` is a full dotted name: what stands
  // before its first dot is the object's own name, the rest its context; without a dot the context
  // is "[Root]". A null user or object is never covered; a null attribute or value always is.
  bool PassStatement(int operation, char* user, char* node, char* object, char* className,
                     char* attribute, char* value);

  // Each stores one setting.
  void SetAllOpsFlag(bool on);
  void SetAuditSubContexts(bool on);
  void SetAllObjFlag(bool on);
  void SetAllClassFlag(bool on);
  void SetAllAttrFlag(bool on);
  void SetAllValueFlag(bool on);

  // Sets the container, in comma or dotted form; a typed name is converted in place. An empty text
  // covers the whole directory and leaves no container. Deliberate: once set, that stays so, also
  // when a container is set later.
  void SetAuditedContext(char* context);

  // Covers one more operation; codes outside 20001 to 20016 are ignored.
  void AddOperation(int code);

  // Each appends an entry. Object names in comma form are converted in place.
  void AddObject(char* name);
  void AddClass(char* name);
  void AddAttr(char* name);
  void AddAttrValue(char* value);

  // Uncovers the listed operations; unsets the container.
  void ClearOperations();
  void ClearContext();

  // Without sub-containers: equal to the container, whatever the case. With them, deliberate: the
  // container occurs anywhere in `context`, with case.
  bool PassContextCheck(char* context);

  // EntityMatch against the list. A null attribute or value passes.
  bool PassObject(char* name);
  bool PassClass(char* name);
  bool PassAttr(char* name);
  bool PassAttrValue(char* value);

  bool allEDirectory;                   // no restriction of the container
  wkagent::OwnedString auditedContext;  // dotted, null when unset
  bool auditSubContexts;
  bool allObjects;
  CLinkList objects;
  bool allClasses;
  CLinkList classes;
  bool allAttributes;
  CLinkList attributes;
  bool allValues;
  CLinkList values;
  std::int32_t operations[16];  // by code minus 20001
  bool allOperations;

 private:
  std::unique_ptr<wkagent::ListMatcher> objectMatcher_;
  std::unique_ptr<wkagent::ListMatcher> classMatcher_;
  std::unique_ptr<wkagent::ListMatcher> attributeMatcher_;
  std::unique_ptr<wkagent::ListMatcher> valueMatcher_;
};

// WKEDAFilter decides directory events by the statements of one filter file. Ownership and threads
// as WKFilter.
class WKAGENT_EXPORT WKEDAFilter : public WKFilter {
 public:
  // Reads "../config/<fileName>". A failure is reported on standard error; the filter then has no
  // statements and keeps no event.
  explicit WKEDAFilter(char* fileName);

  // Reads the file again and replaces the statements. Returns 0, or 1 with the statements as they
  // were.
  int ReadFilter();

  // True when the event is kept; its alerts are then in `alerts`, in statement order: a trap and a
  // syslog entry at most once, a mail for every covering statement that wants one, and none at all
  // when a covering statement suppresses alerts. Arguments as for
  // WKEDAFilterStatement::PassStatement.
  bool PassFilter(int operation, char* user, char* node, char* object, char* className,
                  char* attribute, char* value);

  // Prints every statement.
  void PrintFilter();
};

// WKEdaConfig reads a filter file into WKEDAFilterStatement objects. Those it has not handed over
// it releases; one thread at a time may use an object.
//
// Elements are told by their exact names. A `Filter` element starts a statement; any other element
// configures the statement of the nearest `Filter` before it and is ignored where there is none. A
// missing attribute reads as false or as an empty text.
class WKAGENT_EXPORT WKEdaConfig : public WKConfigFile {
 public:
  WKEdaConfig();
  ~WKEdaConfig() override;

  // Reads the file at `path`, given whole, and builds its statements. Returns 0, or 1 as
  // WKConfigFile::ReadFile does.
  int ReadFile(char* path) override;

  // Builds statements from an element, its following siblings and all below them.
  void MapEDADatatoObject(_xmlNode* element);

  // The handlers of `Filter`, `Operation` and `SMTP` elements.
  void GetEDAFilterDetails(_xmlNode* element);
  void GetEDAOperations(_xmlNode* element);
  void GetSMTPDetails(_xmlNode* element);

  // Appends the pointer of every statement to `out`, in file order, and hands the statements over.
  // `currentStatement` becomes null.
  void GetFilterStatements(CLinkList& out);

  WKEDAFilterStatement* currentStatement;  // null before the first `Filter`

 private:
  int handedOver_ = 0;  // so many statements at the front of `list` have a new owner
};

// WKELAFilterStatement is a statement about logins (21001) and logouts (21002). It adds the
// operations and their conditions (705 to 707), which it owns. One thread at a time may use an
// object.
class WKAGENT_EXPORT WKELAFilterStatement : public WKFilterStatement {
 public:
  // All flags false, `allNodes` too: login statements restrict by node.
  WKELAFilterStatement();
  ~WKELAFilterStatement() override;

  // Prints the statement to standard output. Deliberate: operations and conditions are printed as
  // their code minus 1.
  void PrintfFilter() override;

  using WKFilterStatement::PassStatement;

  // True when the statement covers the event. A condition of 0 or below counts as 705; any other
  // operation or condition is covered only by a statement on all operations. A null user is never
  // covered.
  bool PassStatement(int operation, int condition, char* user, char* node);

  // Covers all operations under all conditions.
  void SetAllOpsFlag(bool on);

  // Covers one more operation and one more condition, each on its own; unknown codes are ignored.
  void AddOperation(int operation, int condition);

  // Uncovers the listed operations and conditions.
  void ClearOperations();

  bool allOperations;
  std::int32_t operations[2];  // by code minus 21001
  std::int32_t conditions[3];  // by code minus 705
};

// WKELAFilter decides logins and logouts by the statements of one filter file. Ownership and
// threads as WKFilter.
class WKAGENT_EXPORT WKELAFilter : public WKFilter {
 public:
  // Reads "../config/<fileName>". A failure is reported on standard error; the filter then has no
  // statements and keeps no event.
  explicit WKELAFilter(char* fileName);

  // Reads the file again and replaces the statements. Returns 0, or 1 with the statements as they
  // were, which is also logged.
  int ReadFilter();

  // True when the event is kept; alerts as for WKEDAFilter::PassFilter, arguments as for
  // WKELAFilterStatement::PassStatement.
  bool PassFilter(int operation, int condition, char* user, char* node);

  // Prints every statement.
  void PrintFilter();
};

// WKElaConfig reads a login filter file into WKELAFilterStatement objects, by the rules of
// WKEdaConfig.
class WKAGENT_EXPORT WKElaConfig : public WKConfigFile {
 public:
  WKElaConfig();
  ~WKElaConfig() override;

  // As WKEdaConfig::ReadFile and MapEDADatatoObject.
  int ReadFile(char* path) override;
  void MapELADatatoObject(_xmlNode* element);

  // The handlers of `Filter`, `Operation` and `SMTP` elements.
  void GetELAFilterDetails(_xmlNode* element);
  void GetELAOperations(_xmlNode* element);
  void GetSMTPDetails(_xmlNode* element);

  // As WKEdaConfig::GetFilterStatements.
  void GetFilterStatements(CLinkList& out);

  WKELAFilterStatement* currentStatement;  // null before the first `Filter`

 private:
  int handedOver_ = 0;  // so many statements at the front of `list` have a new owner
};

#endif  // WKAGENT_FILTER_H
