#ifndef WKAGENT_ALERT_H
#define WKAGENT_ALERT_H

// Alerts: what a filter statement says about them.
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
// Threads: one object from one thread at a time. Ownership: an object owns its texts; AlertWrapper
// owns the settings it was given; a clone belongs to the caller.

#include <wkagent/core.h>
#include <wkagent/export.h>

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

#endif  // WKAGENT_ALERT_H
