#ifndef WKAGENT_ALERT_H
#define WKAGENT_ALERT_H

// Alerts: what a filter statement says about them, and the senders that deliver them.
//
// Each statement of a filter carries one settings object a kind: WKSMTPAlertObject with the
// addressing of a mail, WKSNMPAlertObject and WKSyslogAlertObject with a switch each. When a
// statement matches an event, the filter puts an AlertWrapper a wanted alert into its list; for
// mail the wrapper holds a clone of the statement's settings, so it outlives the statement.
//
//   WKSMTPAlertObject mail;
//   mail.Add("ops@acme.example", nullptr, "agent@acme.example", "Password changed");
//   AlertWrapper wrapper(1);
//   wrapper.SetSMTPAlert(mail.Clone());
//   puts(wrapper.GetSMTPAlertInfo()->GetTo());
//
// A gathered alert is not sent at once, which could take long: WKFilter::Serialize lets a sender
// (WKSMTPAlert, WKSNMPAlert, WKSysLog) append it to a spool file, "../tmp/SMTP.<stamp>.txt" and the
// like, one a second. Later the host hands each spool file to the sender again, which sends all
// that it holds and deletes it. Mail and traps leave through the components of components.h, with
// settings that are stored encrypted (crypto.h).
//
// Threads: one object from one thread at a time. Of each kind of sender the process has a current
// object, the one constructed last, which the static entries use: these are for one thread at a
// time. Ownership: an object owns its texts; AlertWrapper owns the settings it was given; a clone
// belongs to the caller.
//
// A send is tried once: what the component says of it is not looked at, and the spool file goes
// either way. With SetSafeReplay an alert that was not taken stays in its spool file. Replay does
// the same, and can be broken off.

#include <atomic>
#include <cstdint>

#include <wkagent/core.h>
#include <wkagent/export.h>

struct _xmlNode;

// WKAlertObject is the base of the alert settings: the kind of alert and a short message, which it
// owns. One thread at a time may use an object.
class WKAGENT_EXPORT WKAlertObject : public WKLogStatus {
 public:
  // `type` is 1 for mail, 2 for an SNMP trap, 3 for local syslog.
  explicit WKAlertObject(int type);
  ~WKAlertObject();

  // Stores up to 8 bytes of `message`. Deliberate: the field has room for 8 and a terminator.
  void SetAlertMessage(char* message);

  int alertType;
  wkagent::OwnedString alertMessage;  // null until SetAlertMessage
};

// WKSMTPAlertObject holds whether a mail is wanted, and its addressing. It owns its four texts; a
// pointer to one is valid until that text is set again and until the object ends. One thread at a
// time may use an object.
class WKAGENT_EXPORT WKSMTPAlertObject : public WKAlertObject {
 public:
  // All texts unset, inactive.
  WKSMTPAlertObject();
  ~WKSMTPAlertObject();

  // Replaces all four texts; null unsets one. The object becomes active when `toList` or `ccList`
  // is given, else inactive. The arguments may be this object's own texts. Returns 0.
  int Add(const char* toList, const char* ccList, const char* sender, const char* subjectText);

  // Unsets from, to and cc and makes the object inactive. Deliberate: the subject stays until it is
  // set again.
  void Clear();

  // A new object with the same callback, kind and texts; the caller owns it. Deliberate: it is
  // active when it has a `to` or a `cc`, whatever this object's flag says.
  WKSMTPAlertObject* Clone();

  // Each replaces one text and leaves the flag alone; null is ignored.
  void SetTo(char* text);
  void SetCC(char* text);
  void SetFrom(char* text);
  void SetSubject(char* text);

  // Each text, null when unset.
  const char* GetTo();
  const char* GetCC();
  const char* GetFrom();
  const char* GetSubject();

  // The flag: is a mail wanted?
  void SetSMTPAlert(bool on);
  bool IsSMTPAlertActive();

  wkagent::OwnedString from;
  wkagent::OwnedString subject;
  wkagent::OwnedString to;
  wkagent::OwnedString cc;
  bool active;
};

// WKSNMPAlertObject holds whether an SNMP trap is wanted. It owns nothing of its own; one thread at
// a time may use an object.
class WKAGENT_EXPORT WKSNMPAlertObject : public WKAlertObject {
 public:
  // Inactive.
  WKSNMPAlertObject();
  ~WKSNMPAlertObject();

  // The flag: is a trap wanted?
  void SetSNMPAlert(bool on);
  bool IsSNMPAlertActive();

  bool active;
};

// WKSyslogAlertObject holds whether a local syslog entry is wanted. It owns nothing of its own; one
// thread at a time may use an object.
class WKAGENT_EXPORT WKSyslogAlertObject : public WKAlertObject {
 public:
  // Inactive.
  WKSyslogAlertObject();
  ~WKSyslogAlertObject();

  // The flag: is an entry wanted?
  void SetSyslogAlert(bool on);
  bool IsSyslogAlertActive();

  bool active;
};

// AlertWrapper is the envelope of one gathered alert: its kind and, for mail, its settings, which
// it owns. One thread at a time may use an object.
class WKAGENT_EXPORT AlertWrapper : public WKLogStatus {
 public:
  // `type` as in WKAlertObject; no settings yet.
  explicit AlertWrapper(int type);

  // Destroys the settings.
  ~AlertWrapper();

  AlertWrapper(const AlertWrapper&) = delete;
  AlertWrapper& operator=(const AlertWrapper&) = delete;

  // The kind given to the constructor.
  int GetAlertType();

  // Takes ownership of `alert`, which comes from `new` or Clone; null leaves the wrapper without
  // settings. Deliberate: settings held before are not released; they are the caller's again.
  void SetSMTPAlert(WKSMTPAlertObject* alert);

  // The settings, null when there are none. They stay the wrapper's.
  WKSMTPAlertObject* GetSMTPAlertInfo();

  int alertType;
  WKSMTPAlertObject* smtpAlert;
};

// WKSMTPAlert is one mail, and the spool of mails. It owns its texts, which are cut to fit; one
// thread at a time may use an object. The static entries use the object that was constructed last,
// and do nothing when that has ended or there was none.
class WKAGENT_EXPORT WKSMTPAlert : public WKAlert {
 public:
  // Empty texts and the server "127.0.0.1". The object becomes the process's current one.
  WKSMTPAlert();
  ~WKSMTPAlert();

  WKSMTPAlert(const WKSMTPAlert&) = delete;
  WKSMTPAlert& operator=(const WKSMTPAlert&) = delete;

  // Each replaces one text; an empty one empties it. The lists are addresses separated by "," or
  // ";". Deliberate: an empty sender becomes "agent@mossgrove.local".
  void SetMessage(char* text);
  void SetFromID(char* text);
  void SetToList(char* text);
  void SetCCList(char* text);
  void SetSubject(char* text);
  void SetServer(char* text);

  // Sends the mail through the component; deliberate: to 127.0.0.1 where the server is "0.0.0.0",
  // and a cc that is empty is not set at all. Returns the result of FileMailer_Destroy, or 1, with
  // the reason logged, when the host has no mail component.
  int SendMessage();

  // Appends the mail, but not the server, to the spool file of this second: one record of 768 bytes
  // (docs/formats/spool_files.md). An empty message is not spooled. A failure is logged.
  void Serialize();

  // Sends every whole record of a spool file and deletes it. Returns the result of the deletion, as
  // system(3) has it, or 0, with the file as it was, when it is no regular file that can be opened.
  // Where reading fails the file stays, which is logged, and the result is 1.
  // The texts of the object are those of the last record then.
  int Deserialize(char* path);

  // Takes the server from "../config/SMTPSettings.cfg", if there is such a file, and sends the
  // mail, with SendMessage's result.
  int InstaSend();

  // Takes the server from an XML file: the content of its last element "SMTPServer". Deliberate:
  // logs "Cannot read SMTP Settings" where it cannot be read, which WKSNMPAlert does too.
  void ReadSMTPConfig(char* path);
  void traverseXMLTree(_xmlNode* node);

  // Deserialize on the current object, for a bare file name of "../tmp". One that leads elsewhere
  // is logged and left alone.
  static void SMTPAlertAvailable(const char* name);

  // LoadSettings on the current object. Deliberate: the argument is not looked at.
  static void SMTPConfigAvailable(const char* name);

  // Decrypts "../config/SMTPSettings.cfg" with the workspace's key (WKDaemonSettings) and takes the
  // server from it. The plain text is a file of mode 0600 that is gone when the call returns.
  void LoadSettings();

  // read(2) and write(2) on `socket`: up to 8,192 bytes into the receive buffer, with the result in
  // `receivedCount`; the text, with the number of bytes written as the result. EPIPE is logged as
  // "Got SIGPIPE", but the signal does not reach the host. Nothing in the library calls them.
  void Read_Socket();
  int Send_Socket(char* text);

  // Off unless called with true: then Deserialize keeps in the file what the component did not
  // take.
  void SetSafeReplay(bool on);

  // As Deserialize with SetSafeReplay, but it ends soon after another thread sets `stop`, with what
  // was not sent still in the file. A send that fails after more than five seconds ends it as well,
  // so that a server that does not answer holds nobody up: the next replay begins with the records
  // that were not tried. Returns 0, or another number when the file could not be changed, so that
  // all of it would be sent again.
  int Replay(char* path, const std::atomic<bool>& stop);

  // True when the component took the last mail.
  bool WasSent();

  static WKSMTPAlert* SMTPAlertPtr;  // the current object; deliberate: stays when that ends

  char server[64];
  char toList[128];
  char ccList[128];
  char subject[128];
  char fromId[128];
  std::int32_t socket;
  char receiveBuffer[8193];  // deliberate: Serialize puts its stamp here
  std::int64_t receivedCount;

 private:
  int Send(const std::atomic<bool>* stop);
  int ReplayFile(const char* path, bool keep, const std::atomic<bool>* stop);

  bool safeReplay_ = false;
  bool sent_ = false;
};

// WKSNMPAlert is one SNMP trap, and the spool of traps. Ownership, threads and the current object
// are as in WKSMTPAlert.
class WKAGENT_EXPORT WKSNMPAlert : public WKAlert {
 public:
  // Empty texts. The object becomes the process's current one.
  WKSNMPAlert();
  ~WKSNMPAlert();

  WKSNMPAlert(const WKSNMPAlert&) = delete;
  WKSNMPAlert& operator=(const WKSNMPAlert&) = delete;

  // Replaces the message. Deliberate: an empty text leaves the old one.
  void SetMessage(char* text);

  // Reads "../config/SNMPSettings.cfg", as WKSMTPAlert::LoadSettings does, and sends the message as
  // a trap (RFC 3416) with sysUpTime.0, snmpTrapOID.0 and the message's variable. Deliberate: it is
  // sent with what the texts held before where the settings cannot be read. With an empty message
  // nothing is read or sent. Returns the result of SNMPAgent_Destroy, or 1, with the reason logged,
  // when the host has no SNMP component.
  int SendMessage();

  // Appends the message as a line to the spool file of this second, unless it is empty. A failure
  // is logged.
  void Serialize();

  // Sends every line of a spool file, at most 255 bytes at a time, and deletes it; results as of
  // WKSMTPAlert::Deserialize. Deliberate: the line end is part of the message.
  int Deserialize(char* path);

  // Takes the texts from "../config/SNMPSettings.xml": the contents of its last elements
  // "SNMPConsoleMachineName", "SNMPEOI" and "TrapDescID". Deliberate: logs "Cannot read SMTP
  // Settings" where it cannot be read.
  void ReadConfigFile();
  void traverseXMLTree(_xmlNode* node);

  // Deserialize on the current object, as WKSMTPAlert::SMTPAlertAvailable.
  static void SNMPAlertAvailable(const char* name);

  // As in WKSMTPAlert. A trap that is being sent is not broken off.
  void SetSafeReplay(bool on);
  int Replay(char* path, const std::atomic<bool>& stop);
  bool WasSent();

  static WKSNMPAlert* SNMPAlertPtr;  // the current object; deliberate: stays when that ends

  char consoleMachineName[64];  // where the trap goes
  char enterpriseOid[128];      // of the variable that carries the message
  char trapDescriptionId[128];  // the value of snmpTrapOID.0

 private:
  bool safeReplay_ = false;
  bool sent_ = false;
};

// WKSysLog is one entry of the local system log, and the spool of entries. Ownership, threads and
// the current object are as in WKSMTPAlert; the log's identity belongs to the process.
class WKAGENT_EXPORT WKSysLog : public WKAlert {
 public:
  // Lets all priorities of the process pass (setlogmask(3)). The object becomes the process's
  // current one.
  WKSysLog();
  ~WKSysLog();

  WKSysLog(const WKSysLog&) = delete;
  WKSysLog& operator=(const WKSysLog&) = delete;

  // Replaces the message. Deliberate: an empty text leaves the old one.
  void SetMessage(char* text);

  // Writes the message, unless it is empty, by syslog(3): identity "WKAgent", facility user,
  // priority info. The log is opened and closed each time, so an identity that the host has set is
  // lost.
  void SendMessage();

  // As in WKSNMPAlert. Deliberate: an entry that was spooled ends with two line ends.
  void Serialize();
  int Deserialize(char* path);

  // As in WKSMTPAlert. An entry stays in the file where no log daemon listens, which is logged, and
  // where `stop` was set meanwhile, for nobody knows whether it was taken. It is not broken off: a
  // daemon that hangs lets a send wait for ever, unless a signal interrupts it.
  int Replay(char* path, const std::atomic<bool>& stop);

  // Deserialize on the current object, as WKSMTPAlert::SMTPAlertAvailable.
  static void SysLogAlertAvailable(const char* name);

  static WKSysLog* SysLogPtr;  // the current object; deliberate: stays when that ends
};

#endif  // WKAGENT_ALERT_H
