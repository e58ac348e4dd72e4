#ifndef WKAGENT_AGENT_SYNC_SEARCH_H
#define WKAGENT_AGENT_SYNC_SEARCH_H

#include <string>

#include "agent/access_log_entry.h"
#include "agent/ldap_handles.h"

namespace wkagent {

// A search of cn=accesslog by content synchronisation (RFC 4533, refreshAndPersist): first what the
// log holds after a change sequence number, then every new entry as it comes.
class SyncSearch {
 public:
  enum class State {
    kEntry,    // `Entry` holds one
    kOther,    // something else has come
    kNothing,  // nothing now, more may come
    kEnded,    // the search has ended; `Code` tells why
  };

  // The connection must live longer than this.
  explicit SyncSearch(LDAP* ldap) : ldap_(ldap) {}

  // Begins after `csn`, or with the oldest entry where it is empty. Returns an LDAP result code.
  [[nodiscard]] int Begin(const std::string& csn);

  // Takes the next answer without waiting.
  [[nodiscard]] State Next();

  [[nodiscard]] const AccessLogEntry& Entry() const { return entry_; }

  // An LDAP result code.
  [[nodiscard]] int Code() const { return code_; }

  // True while what the log held before is being sent.
  [[nodiscard]] bool IsRefreshing() const { return refreshing_; }

 private:
  [[nodiscard]] bool ReadEntry(LDAPMessage* message);
  void ReadIntermediate(LDAPMessage* message);

  LDAP* ldap_;
  int id_ = -1;
  int code_ = LDAP_SUCCESS;
  bool refreshing_ = true;
  AccessLogEntry entry_;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_SYNC_SEARCH_H
